#pragma once

#include "QuorvikCore/Platform/FileDescriptor.h"

#include <sys/types.h>

#include <filesystem>

namespace quorvik {

/// A Unix domain stream socket that stands ready under a public name. Only the holder of the app's lock makes
/// one: it replaces whatever an app that died has left there.
///
/// The socket is bound and listens under a private name in the same folder before it is renamed into place.
/// So there is no moment at which somebody who connects finds nobody, and none at which another user could.
class ServerSocket {
  public:
    /// Which socket may be replaced that stands under the name already.
    enum class Replaces {
        any,  ///< the name belongs to this app alone
        dead, ///< only one at which nobody listens: another app of this user may have the same name
    };

    /// The descriptor is non-blocking. Throws FileError: for a path that is too long, for one that holds
    /// anything but a socket ("could not listen at /a/b: File exists"), for one that belongs to another user
    /// and cannot be replaced ("…: Operation not permitted"), for one that may not be replaced ("…: Address
    /// already in use").
    static ServerSocket publish(const std::filesystem::path& path, Replaces replaces = Replaces::any);

    ServerSocket(ServerSocket&&) = default;
    ServerSocket& operator=(ServerSocket&&) = default;

    int descriptor() const { return socket_.get(); }
    const std::filesystem::path& path() const { return path_; }

    /// Whether the public name still leads here: cleaners of temporary folders take sockets away.
    bool isPublished() const;

    /// Takes the public name away, if it still leads here. Whoever is connected stays so.
    void withdraw();

  private:
    ServerSocket(FileDescriptor socket, std::filesystem::path path, dev_t device, ino_t inode)
        : socket_(std::move(socket)), path_(std::move(path)), device_(device), inode_(inode) {}

    FileDescriptor socket_;
    std::filesystem::path path_;
    dev_t device_;
    ino_t inode_;
};

} // namespace quorvik
