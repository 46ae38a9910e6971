// Whatever is written, on a command line or in a link, becomes a refusal with a message or a request within
// its limits. Input: words separated by line feeds; the whole also as a link.

#include "Fuzz/Check.h"

#include "QuorvikCore/Alerts/AlertValidator.h"
#include "QuorvikCore/Text/Unicode.h"

#include <cstdint>

namespace {

using namespace quorvik;

template <typename Make>
void check(Make make) {
    try {
        const AlertRequest request = make();
        const auto length = [](const std::string& text) { return Unicode::characterCount(text); };
        CHECK(length(request.title) >= 1 && length(request.title) <= 16);
        CHECK(length(request.body) <= 80);
        CHECK(request.ttl >= 0 && request.ttl <= 86400);
        CHECK(!request.id || (!request.id->empty() && request.id->size() <= 64));
        const std::string open = request.open.value_or("/tmp") + "/";
        CHECK(open.starts_with("/home/u/") || open.starts_with("/tmp/") || open.starts_with("/private/tmp/"));
        CHECK(open.find("/../") == std::string::npos && !open.ends_with("//"));
        CHECK(AlertRequest::fromJSON(*parseJSON(printJSON(request.toJSON()))) == request);
    } catch (const AlertRejection& rejection) {
        CHECK(rejection.what()[0] != '\0');
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<std::string> words;
    for (std::size_t start = 0; start <= text.size();) {
        const auto end = std::min(text.find('\n', start), text.size());
        words.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    check([&] { return AlertValidator::make(words, "/home/u"); });
    check([&] { return AlertValidator::make(std::string_view(text), "/home/u"); });
    check(
        [&] { return AlertValidator::make(std::string_view("quorvik://alert?title=t&" + text), "/home/u"); });
    return 0;
}
