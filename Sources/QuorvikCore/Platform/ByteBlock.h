#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Sixteen characters at a time, for passes over texts of megabytes: `a == b` compares each character of one
/// block with that of the other and gives a block of "yes" (255) and "no" (0), to be combined with & | ^.
/// GCC and Clang turn these into vector instructions of whatever processor there is.
namespace quorvik::Platform {

// What GCC calls a vector. Comparisons give signed bytes, so that is what all of them are.
using ByteBlock = signed char __attribute__((vector_size(16)));
using UnsignedByteBlock = unsigned char __attribute__((vector_size(16)));

inline constexpr std::ptrdiff_t blockSize = sizeof(ByteBlock);

/// The characters at `from`, which need no alignment.
inline ByteBlock blockAt(const char* from) {
    ByteBlock block;
    std::memcpy(&block, from, sizeof block);
    return block;
}

/// "Yes" where the character, taken as an unsigned number, is from `first` to `last`.
inline ByteBlock isBetween(ByteBlock block, unsigned char first, unsigned char last) {
    const auto distance = reinterpret_cast<UnsignedByteBlock>(block) - first;
    return reinterpret_cast<ByteBlock>(distance <= static_cast<unsigned char>(last - first));
}

/// Where the first "yes" is; there must be one.
inline std::size_t firstYes(ByteBlock block) {
    static_assert(std::endian::native == std::endian::little);
    std::uint64_t halves[2];
    std::memcpy(halves, &block, sizeof block);
    const std::size_t bits = halves[0] != 0 ? static_cast<std::size_t>(std::countr_zero(halves[0]))
                                            : 64 + static_cast<std::size_t>(std::countr_zero(halves[1]));
    return bits / 8;
}

/// Whether there is a "yes", or anything but zeros.
inline bool isAny(ByteBlock block) {
    std::uint64_t halves[2];
    std::memcpy(halves, &block, sizeof block);
    return (halves[0] | halves[1]) != 0;
}

} // namespace quorvik::Platform
