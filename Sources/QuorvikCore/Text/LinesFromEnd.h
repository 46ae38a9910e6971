#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace quorvik {

/// Goes through the lines of a long text from its end, for logs of which the newest lines matter. The text is
/// read in blocks, each once; no more than a block and a line are in memory.
class LinesFromEnd {
  public:
    /// Reads a part of the text. What is shorter than asked for ends everything: the text is not what it was.
    using Read = std::function<std::string(std::uint64_t offset, std::size_t length)>;

    /// Takes a line, without its line feed, which is valid during the call. True ends everything.
    using Take = std::function<bool(std::string_view line)>;

    static constexpr std::size_t block = 64 * 1024;    ///< bytes
    static constexpr std::size_t longest = 256 * 1024; ///< bytes of a line; longer ones are passed over

    explicit LinesFromEnd(Read read, std::size_t blockSize = block, std::size_t longestLine = longest)
        : read_(std::move(read)), block_(blockSize), longest_(longestLine) {}

    /// Gives the lines of the text from `begin` on, which is where a line begins, to `end`, the last one
    /// first. What stands behind the last line feed is no line yet. Returns where that begins.
    std::uint64_t go(std::uint64_t begin, std::uint64_t end, const Take& take);

  private:
    Read read_;
    std::size_t block_, longest_;
};

} // namespace quorvik
