#include "QuorvikCore/Activity/ServiceSpec.h"

#include <gtest/gtest.h>

#include <unordered_set>

namespace quorvik {

using Port = ServiceSpec::Port;
using Docker = ServiceSpec::Docker;
using Compose = ServiceSpec::Compose;

TEST(ServiceSpec, IsReadAndWritten) {
    struct Case {
        std::string_view typed;
        ServiceSpec spec;
        std::string text, id;
    };
    for (const auto& [typed, spec, text, id] : std::initializer_list<Case>{
             {"3000", {":3000", Port{3000}}, "3000", "port-3000"},
             {" \u2028+65535\n", {":65535", Port{65535}}, "65535", "port-65535"},
             {"api:8080", {"api", Port{8080}}, "api:8080", "port-8080"},
             {"My API :1", {"My API ", Port{1}}, "My API :1", "port-1"},
             {"Docker:my-db", {"my-db", Docker{"my-db"}}, "docker:my-db", "docker-my-db"},
             {"DOCKER:\u00A0 a_1.B ", {"a_1.B", Docker{"a_1.B"}}, "docker:a_1.B", "docker-a_1.B"},
             {"compose: büro", {"büro", Compose{"büro"}}, "compose:büro", "compose-büro"},
             {"docker:bu\u0308ro\u0663",
              {"bu\u0308ro\u0663", Docker{"bu\u0308ro\u0663"}},
              "docker:bu\u0308ro\u0663",
              "docker-bu\u0308ro\u0663"}, // two scalars, one letter
             {"docker:3000", {"3000", Docker{"3000"}}, "docker:3000", "docker-3000"},
         }) {
        const auto read = ServiceSpec::parse(typed);
        ASSERT_TRUE(read) << typed;
        EXPECT_EQ(*read, spec) << typed;
        EXPECT_EQ(read->text(), text);
        EXPECT_EQ(read->id(), id);
        EXPECT_EQ(ServiceSpec::parse(text), spec) << text;
    }
    for (const std::string_view refused : {"",
                                           " \n",
                                           "0",
                                           "70000",
                                           "-1",
                                           "3000x",
                                           "web",
                                           ":3000",
                                           "web:",
                                           ":",
                                           "web:0",
                                           "web: 3000",
                                           "a:b:3000",
                                           "web::3000",
                                           "docker:",
                                           "docker: ",
                                           "compose:my app",
                                           "docker:a:b",
                                           "docker:a/b",
                                           "docker:½",
                                           "docker:\xFF",
                                           "docker :x",
                                           "99999999999999999999"})
        EXPECT_FALSE(ServiceSpec::parse(refused)) << refused;
    EXPECT_EQ((std::unordered_set<ServiceSpec>{{"a", Port{1}}, {"a", Port{1}}, {"b", Port{1}}}.size()), 2u);
}

TEST(ServiceSpec, ReadsContainerListings) {
    const std::string_view listing = "shop-web-1\trunning\tUp 2 hours (healthy)\tshop\tweb\n"
                                     "shop-api-1\trunning\tUp 1 hour (Unhealthy)\tshop\tapi\r\n"
                                     "shop-init-1\texited\tExited (0) 5 minutes ago\tshop\tinit\n"
                                     "\n"
                                     "shop-job-1\texited\tExited (137) 1 minute ago\tshop\t\n"
                                     "old\texited\tExited (x) 1 minute ago\t\t\n"
                                     "short\tcreated\tCreated\tshop\n" // no service field: no project either
                                     "bare\trunning\tUp, was exited (3)\n"
                                     "two\tfields\n"
                                     "odd\trunning\tUp\todd\tweb\tmore\n"
                                     "odd\tdead\tis exited (0)\todd\tdb\n";
    using State = ServiceSpec::DockerState;
    const std::optional<std::string> shop = "shop", odd = "odd", none;
    EXPECT_EQ(ServiceSpec::dockerStates(listing),
              (std::vector<State>{{"shop-web-1", shop, true, false, std::nullopt},
                                  {"shop-api-1", shop, true, true, std::nullopt},
                                  {"shop-init-1", shop, false, false, 0},
                                  {"shop-job-1", shop, false, false, 137},
                                  {"old", none, false, false, std::nullopt},
                                  {"short", none, false, false, std::nullopt},
                                  {"bare", none, true, false, std::nullopt},
                                  {"odd", odd, true, false, std::nullopt},
                                  {"odd", odd, false, false, 0}}));
    EXPECT_EQ(ServiceSpec::dockerHealth(listing), (std::map<std::string, bool>{{"shop-web-1", true},
                                                                               {"shop-api-1", false},
                                                                               {"shop-init-1", false},
                                                                               {"shop-job-1", false},
                                                                               {"old", false},
                                                                               {"short", false},
                                                                               {"bare", true},
                                                                               {"odd", false}}));
    EXPECT_EQ(ServiceSpec::composeHealth(listing),
              (std::map<std::string, ServiceSpec::ComposeStatus>{{"shop", {4, {"api", "shop-job-1"}}},
                                                                 {"odd", {2, {"db"}}}}));
}

} // namespace quorvik
