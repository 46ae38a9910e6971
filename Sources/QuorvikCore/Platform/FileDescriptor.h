#pragma once

#include <utility>

namespace quorvik {

/// Owns one open descriptor and closes it. Move-only; empty (-1) when there is none.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { close(); }

    explicit operator bool() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }

    /// Gives the descriptor away unclosed.
    int release() { return std::exchange(descriptor_, -1); }

    /// Closes now. False when the system reports that data written earlier did not reach the file. Never
    /// repeated after an interruption: the number may already be somebody else's.
    bool close();

  private:
    int descriptor_ = -1;
};

/// The two ends of a pipe, both close-on-exec.
struct Pipe {
    FileDescriptor readEnd;
    FileDescriptor writeEnd;

    /// Both ends are empty when the system has no pipe to give.
    static Pipe create();

    /// Makes room for more bytes on their way, 1 MiB where the system has a choice: a writer and a reader
    /// that are both busy then wait for each other less often.
    void enlarge() const;
};

/// Puts /dev/null, close-on-exec, in the place of each standard descriptor that is closed, so that no file
/// opened later is mistaken for standard input, output or error. A started program still finds them closed.
void occupyStandardDescriptors();

/// Writes all of it, waiting where a descriptor is non-blocking. False when the other side is gone or the
/// file cannot take more; errno says why.
bool writeAll(int descriptor, const char* data, std::size_t size);

} // namespace quorvik
