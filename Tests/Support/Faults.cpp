#include "Tests/Support/Faults.h"

#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

namespace quorvik::testing {

std::ostream& operator<<(std::ostream& stream, const Fault& fault) {
    return stream << fault.call << " " << fault.number << " " << fault.what;
}

std::string Faults::whyNot(const std::string& program) {
    constexpr const char* isStatic = "! readelf -l \"$1\" | grep -q INTERP";
    if (Program::run({"sh", "-c", "command -v strace readelf"}).status != 0)
        return "needs strace and readelf";
    if (Program::run({"strace", "-o", "/dev/null", "true"}).status != 0) return "strace may not trace here";
    if (Program::run({"sh", "-c", isStatic, "sh", program}).status != 0)
        return "the calls of the dynamic linker would come first";
    return "";
}

int Faults::each(const std::string& call, const std::string& what, const Scenario& scenario) const {
    for (int number = 1;; ++number) {
        const Fault fault{call, what, number};
        const std::string inject = call + ":" + what + ":when=" + std::to_string(number);
        SCOPED_TRACE(inject);
        std::filesystem::remove(log_);
        // -D: the program is our own child, and strace somebody who looks on.
        scenario(fault, {"strace", "-D", "-q", "-o", log_.string(), "-e", "trace=" + call, "-e",
                         "inject=" + inject});
        if (::testing::Test::HasFailure()) return number;
        std::string calls;
        const bool hasEnded = eventually([&] {
            calls = contentOf(log_);
            return calls.find("+++ ") != calls.npos;
        });
        const bool wasInjected =
            calls.find(fault.kills() ? "+++ killed by SIGKILL" : "(INJECTED)") != calls.npos;
        if (!hasEnded || !wasInjected) return number;
    }
}

} // namespace quorvik::testing
