#pragma once

#include "QuorvikCore/Install/UserFileEdit.h"
#include "QuorvikCore/JSON/OrderedJSON.h"

#include <string>

namespace quorvik {

/// An agent's settings file in JSON, as read for an edit.
struct SettingsDocument {
    JSONValue root = JSONValue::object();
    bool endsWithLineFeed = true; ///< a file that we create does

    /// A missing or blank file is an empty object. Throws JSONParseError, and EditError "not a JSON object"
    /// when the document is of another kind: no agent takes such a file for its settings, and we would
    /// destroy it.
    static SettingsDocument parse(const UserFileEdit::Content& content);

    /// The file's new text. Throws EditError "nested too deeply to be written back".
    std::string print() const;
};

} // namespace quorvik
