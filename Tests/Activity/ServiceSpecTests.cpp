#include "Tests/Support/Text.h"

#include "QuorvikCore/Activity/ServiceSpec.h"

#include <gtest/gtest.h>

#include <array>

namespace quorvik {

TEST(ServiceSpec, IsReadAndWritten) {
    for (const auto& [typed, label, text, id] : std::initializer_list<std::array<std::string, 4>>{
             {"3000", ":3000", "3000", "port-3000"},
             {" \u2028+65535\n", ":65535", "65535", "port-65535"},
             {"My API :1", "My API ", "My API :1", "port-1"},
             {"Docker:my-db", "my-db", "docker:my-db", "docker-my-db"},
             {"compose:  a_1.B ", "a_1.B", "compose:a_1.B", "compose-a_1.B"},
             {"docker:u\u0308\u0663", "u\u0308\u0663", "docker:u\u0308\u0663", "docker-u\u0308\u0663"}}) {
        const auto spec = ServiceSpec::parse(typed).value();
        EXPECT_EQ(std::tie(spec.label, text, id), std::make_tuple(label, spec.text(), spec.id())) << typed;
        EXPECT_EQ(ServiceSpec::parse(text), spec) << text;
    }
    for (const std::string& refused : testing::split(
             "| \n|0|70000|-1|3000x|web|:3000|web:|:|web:0|web: 3000|a:b:3000|web::3000|docker:|docker: |"
             "compose:my app|compose:\tapp|compose:\u00A0app|docker:a:b|docker:½|docker:\xFF|docker :x"))
        EXPECT_FALSE(ServiceSpec::parse(refused)) << refused;
}

TEST(ServiceSpec, ReadsContainerListings) {
    const std::string_view listing =
        "shop-web-1\trunning\tUp 2 hours (healthy)\tshop\tweb\n"
        "shop-api-1\trunning\tUp 1 hour (Unhealthy)\tshop\tapi\r\n"
        "shop-init-1\texited\tExited (0) 5 minutes ago\tshop\tinit\n\n"
        "shop-job-1\texited\tExited (137) 1 minute ago\tshop\t\n"
        "short\tcreated\tExited (x)\tshop\n" // no service field: no project either
        "bare\trunning\tUp, was exited (3)\ntwo\tfields\n"
        "odd\trunning\tUp\t\tweb\tmore\n"
        "odd\tdead\tis exited (0)\todd\tdb\n";
    const std::optional<std::string> shop = "shop", none;
    const std::vector<ServiceSpec::DockerState> states = {{"shop-web-1", shop, true},
                                                          {"shop-api-1", shop, true, true},
                                                          {"shop-init-1", shop, false, false, 0},
                                                          {"shop-job-1", shop, false, false, 137},
                                                          {"short"},
                                                          {"bare", none, true},
                                                          {"odd", none, true},
                                                          {"odd", "odd", false, false, 0}};
    EXPECT_EQ(ServiceSpec::dockerStates(listing), states);
    const auto health = ServiceSpec::dockerHealth(listing);
    EXPECT_TRUE(health.at("shop-web-1") && health.at("bare") && !health.at("shop-api-1") &&
                !health.at("odd"));
    const std::map<std::string, ServiceSpec::ComposeStatus> projects = {{"odd", {1, {"db"}}},
                                                                        {"shop", {4, {"api", "shop-job-1"}}}};
    EXPECT_EQ(ServiceSpec::composeHealth(listing), projects);
}

} // namespace quorvik
