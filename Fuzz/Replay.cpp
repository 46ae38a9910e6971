// Stands in for libFuzzer where it is not built: runs the target once on every file of the folders given.

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    int count = 0;
    for (int index = 1; index < argc; ++index) {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[index])) {
            if (!entry.is_regular_file()) continue;
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string input(std::istreambuf_iterator<char>(file), {});
            std::fprintf(stderr, "replaying %s\n",
                         entry.path().c_str()); // at once, should the target end the process
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
            ++count;
        }
    }
    return count > 0 ? 0 : 1; // a corpus that is not found guards nothing
}
