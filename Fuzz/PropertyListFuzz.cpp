// Property lists, XML and binary: whatever passes the guard, libplist reads and frees in peace, and does not
// grow beyond what the guard allows. Input: the list.

#include "QuorvikCore/Activity/XcodeManifest.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace quorvik;
    const auto list = XcodeManifest::parse({reinterpret_cast<const char*>(data), size});
    if (list) XcodeLogs::activities(*list);
    return 0;
}
