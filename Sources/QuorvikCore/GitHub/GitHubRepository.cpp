#include "QuorvikCore/GitHub/GitHubRepository.h"

#include <algorithm>

namespace quorvik::GitHubRepository {

namespace {

constexpr std::size_t longestPiece = 100; // characters; GitHub's own limit for names of repositories

bool isPiece(std::string_view text) {
    constexpr std::string_view allowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.";
    return !text.empty() && text.size() <= longestPiece && text != "." && text != ".." &&
           text.find_first_not_of(allowed) == text.npos;
}

bool isGitHub(std::string_view host) {
    constexpr auto isSame = [](char byte, char lower) {
        return byte == lower || (byte >= 'A' && byte <= 'Z' && byte + ('a' - 'A') == lower);
    };
    return std::ranges::equal(host, std::string_view("github.com"), isSame) ||
           std::ranges::equal(host, std::string_view("ssh.github.com"), isSame);
}

} // namespace

bool isName(std::string_view text) {
    const std::size_t slash = text.find('/');
    return slash != text.npos && isPiece(text.substr(0, slash)) && isPiece(text.substr(slash + 1));
}

std::optional<std::string> nameOf(std::string_view remote) {
    const std::size_t scheme = remote.find("://");
    const bool isURL = scheme != remote.npos;
    if (isURL) remote.remove_prefix(scheme + 3);
    const std::size_t end = remote.find(isURL ? '/' : ':');
    if (end == remote.npos) return std::nullopt;
    std::string_view host = remote.substr(0, end), path = remote.substr(end + 1);
    if (const std::size_t user = host.rfind('@'); user != host.npos) host.remove_prefix(user + 1);
    if (!isGitHub(host.substr(0, host.find(':')))) return std::nullopt;
    if (path.starts_with('/')) path.remove_prefix(1);
    if (path.ends_with('/')) path.remove_suffix(1);
    if (path.ends_with(".git")) path.remove_suffix(4);
    if (!isName(path)) return std::nullopt;
    return std::string(path);
}

} // namespace quorvik::GitHubRepository
