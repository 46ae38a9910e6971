#include "QuorvikCore/Alerts/AlertValidator.h"

#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/URL.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik::AlertValidator {

namespace {

constexpr std::size_t maxPath = 1024; // characters
constexpr std::string_view idAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._:-";

[[noreturn]] void reject(std::string message) {
    throw AlertRejection(message);
}

bool isLongerThan(std::string_view text, std::size_t limit) {
    return Unicode::characterCount(text, limit + 1) > limit;
}

std::string_view trimmed(std::string_view text) {
    return Unicode::trimmed(text, Unicode::isWhitespace);
}

std::int64_t parseTTL(std::string_view raw) {
    const auto seconds = Number::integer<std::int64_t>(trimmed(raw));
    if (!seconds || *seconds < 0 || *seconds > maxTTL) reject("ttl must be 0 to 86400 seconds");
    return *seconds;
}

/// What "^[A-Za-z][A-Za-z0-9+.-]*:" matches at the start of the text.
bool beginsWithScheme(std::string_view text) {
    const auto colon = text.find(':');
    return colon != std::string_view::npos && URL::parse(text.substr(0, colon + 1)).has_value();
}

std::string pathOfFileURL(std::string_view text) {
    const auto url = URL::parse(text);
    if (!url || url->scheme != "file" || (!url->host.value_or("").empty() && url->host != "localhost"))
        reject("open is not a local file URL");
    return url->path;
}

bool hasParentPiece(std::string_view path) {
    while (!path.empty()) {
        const std::string_view piece = path.substr(0, path.find('/'));
        if (piece == "..") return true;
        path.remove_prefix(std::min(piece.size() + 1, path.size()));
    }
    return false;
}

} // namespace

std::optional<std::string>* RawFields::named(std::string_view name) {
    if (name == "title") return &title;
    if (name == "body") return &body;
    if (name == "level") return &level;
    if (name == "open") return &open;
    if (name == "id") return &id;
    if (name == "ttl") return &ttl;
    return nullptr;
}

AlertRequest make(std::span<const std::string> arguments, std::string_view home) {
    RawFields fields;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string argument = Unicode::repaired(arguments[index]);
        std::string_view word = argument;
        if (!word.starts_with("--")) reject("unexpected argument " + argument);
        word.remove_prefix(2);
        const auto equals = word.find('=');
        const std::string name(word.substr(0, equals));
        std::string value;
        if (equals != std::string_view::npos)
            value = word.substr(equals + 1);
        else if (++index < arguments.size())
            value = Unicode::repaired(arguments[index]);
        else
            reject("--" + name +
                   " needs a value"); // even for an unknown name: the value is what is looked at first
        std::optional<std::string>* field = fields.named(name);
        if (!field) reject("unknown option --" + name);
        *field = std::move(value);
    }
    return make(fields, home);
}

AlertRequest make(std::string_view url, std::string_view home) {
    const auto parts = URL::parse(url);
    if (!parts || parts->scheme != "quorvik" || Unicode::lowercased(parts->host.value_or("")) != "alert" ||
        !parts->query)
        reject("not a quorvik://alert link");
    RawFields fields;
    for (const URL::QueryItem& item : *parts->query) {
        std::optional<std::string>* field = fields.named(item.name);
        if (!field) reject("unknown parameter " + item.name);
        *field = item.value;
    }
    return make(fields, home);
}

AlertRequest make(const RawFields& fields, std::string_view home) {
    AlertRequest request;
    request.title = plain(fields.title.value_or(""));
    if (request.title.empty()) reject("title is required (1 to 16 characters)");
    if (isLongerThan(request.title, maxTitle)) reject("title is longer than 16 characters");

    request.body = plain(fields.body.value_or(""));
    if (isLongerThan(request.body, maxBody)) reject("body is longer than 80 characters");

    if (fields.level) {
        const auto level = fromRawValue<AlertLevel>(Unicode::lowercased(*fields.level));
        if (!level) reject("level must be info, action or fail");
        request.level = *level;
    }
    if (fields.ttl) request.ttl = parseTTL(*fields.ttl);
    if (fields.id) {
        if (fields.id->empty() || fields.id->size() > maxID ||
            fields.id->find_first_not_of(idAlphabet) != std::string::npos)
            reject("id must be 1 to 64 letters, digits or . _ : -");
        request.id = fields.id;
    }
    if (fields.open) request.open = openPath(*fields.open, home);
    return request;
}

std::string openPath(std::string_view raw, std::string_view home) {
    const std::string text = Unicode::repaired(trimmed(raw));
    std::string path;
    if (Unicode::lowercased(text).starts_with("file://"))
        path = pathOfFileURL(text);
    else if (beginsWithScheme(text))
        reject("open must be a local path, not a URL");
    else
        path = text;

    if (!path.starts_with('/') || isLongerThan(path, maxPath) || path.find('\0') != std::string::npos)
        reject("open must be an absolute path");
    if (hasParentPiece(path)) reject("open must not contain ..");
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    for (const std::string_view root : {home, std::string_view("/tmp"), std::string_view("/private/tmp")}) {
        if (path.starts_with(root) && (path.size() == root.size() || path[root.size()] == '/')) return path;
    }
    reject("open must be under your home folder or /tmp");
}

std::string plain(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Unicode::Scalar scalar = Unicode::firstScalar(text);
        if (Unicode::isControl(scalar.value) || Unicode::isNewline(scalar.value))
            result += ' ';
        else
            Unicode::append(result, scalar.value);
        text.remove_prefix(scalar.length);
    }
    return std::string(trimmed(result));
}

} // namespace quorvik::AlertValidator
