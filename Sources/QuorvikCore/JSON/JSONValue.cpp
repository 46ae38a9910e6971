#include "QuorvikCore/JSON/JSONValue.h"

#include <algorithm>
#include <utility>

namespace quorvik {

JSONValue::JSONValue() noexcept : storage(std::monostate{}) {}

JSONValue::JSONValue(Storage payload) noexcept : storage(std::move(payload)) {}

JSONValue::JSONValue(JSONValue&& other) noexcept = default;

JSONValue& JSONValue::operator=(JSONValue other) noexcept {
    storage.swap(other.storage);
    return *this;
}

JSONValue::~JSONValue() {
    if (isContainer()) dismantle();
}

JSONValue JSONValue::object() {
    return JSONValue(Storage(Object{}));
}
JSONValue JSONValue::object(Object members) {
    return JSONValue(Storage(std::move(members)));
}
JSONValue JSONValue::array(Array elements) {
    return JSONValue(Storage(std::move(elements)));
}
JSONValue JSONValue::string(std::string text) {
    return JSONValue(Storage(std::move(text)));
}
JSONValue JSONValue::number(std::string text) {
    return JSONValue(Storage(Number{std::move(text)}));
}
JSONValue JSONValue::boolean(bool value) {
    return JSONValue(Storage(value));
}

const std::string* JSONValue::numberText() const {
    const Number* number = std::get_if<Number>(&storage);
    return number ? &number->text : nullptr;
}

std::optional<bool> JSONValue::boolValue() const {
    const bool* value = std::get_if<bool>(&storage);
    return value ? std::optional(*value) : std::nullopt;
}

// Copying, comparing and destroying: written without recursion, for the sake of files that are nothing but
// brackets.

JSONValue::JSONValue(const JSONValue& other) : JSONValue() {
    if (!other.isContainer()) {
        storage = other.storage;
        return;
    }
    // The copy of a container is made at its full length at once, so the addresses of its elements hold.
    std::vector<std::pair<const JSONValue*, JSONValue*>> pending{{&other, this}};
    const auto copy = [&pending](const JSONValue& from, JSONValue& to) {
        if (from.isContainer())
            pending.emplace_back(&from, &to);
        else
            to.storage = from.storage;
    };
    while (!pending.empty()) {
        const auto [from, to] = pending.back();
        pending.pop_back();
        if (const Array* elements = from->arrayValue()) {
            Array& copies = to->storage.emplace<Array>(elements->size());
            for (std::size_t i = 0; i < copies.size(); ++i)
                copy((*elements)[i], copies[i]);
        } else if (const Object* members = from->objectValue()) {
            Object& copies = to->storage.emplace<Object>(members->size());
            for (std::size_t i = 0; i < copies.size(); ++i) {
                copies[i].key = (*members)[i].key;
                copy((*members)[i].value, copies[i].value);
            }
        }
    }
}

bool operator==(const JSONValue& left, const JSONValue& right) {
    if (!left.isContainer() || !right.isContainer()) return left.storage == right.storage;

    std::vector<std::pair<const JSONValue*, const JSONValue*>> pending{{&left, &right}};
    const auto differ = [&pending](const JSONValue& a, const JSONValue& b) {
        if (!a.isContainer() || !b.isContainer()) return a.storage != b.storage;
        pending.emplace_back(&a, &b);
        return false;
    };
    while (!pending.empty()) {
        const auto [a, b] = pending.back();
        pending.pop_back();
        if (a->kind() != b->kind()) return false;
        if (const JSONValue::Array* elements = a->arrayValue()) {
            const JSONValue::Array& others = *b->arrayValue();
            if (elements->size() != others.size()) return false;
            for (std::size_t i = 0; i < others.size(); ++i)
                if (differ((*elements)[i], others[i])) return false;
        } else if (const JSONValue::Object* members = a->objectValue()) {
            const JSONValue::Object& others = *b->objectValue();
            if (members->size() != others.size()) return false;
            for (std::size_t i = 0; i < others.size(); ++i)
                if ((*members)[i].key != others[i].key || differ((*members)[i].value, others[i].value))
                    return false;
        }
    }
    return true;
}

bool JSONValue::hasChildren() const {
    const Array* elements = arrayValue();
    const Object* members = objectValue();
    return (elements && !elements->empty()) || (members && !members->empty());
}

JSONValue& JSONValue::firstChild() {
    Array* elements = arrayValue();
    return elements ? elements->front() : objectValue()->front().value;
}

JSONValue& JSONValue::lastChild() {
    Array* elements = arrayValue();
    return elements ? elements->back() : objectValue()->back().value;
}

void JSONValue::removeLastChild() {
    if (Array* elements = arrayValue())
        elements->pop_back();
    else
        objectValue()->pop_back();
}

/// Empties a container of any depth, within constant stack and without asking for memory, which a destructor
/// could not report the lack of. `current` loses its children from the last to the first. On the way down
/// into a child the road back is kept in the child itself: its first element is taken out, `current` takes
/// that place, and the child becomes `current`; being first, the parent surfaces when everything else in the
/// child is gone. The element taken out is next to be looked at. Each container goes down once and surfaces
/// once, so the whole is linear.
void JSONValue::dismantle() noexcept {
    if (!hasChildren()) return;
    JSONValue current(std::move(*this));
    while (current.hasChildren()) {
        // What is deep most often holds one list in another.
        if (Array* const elements = std::get_if<Array>(&current.storage); elements && elements->size() == 1) {
            Array only = std::move(*elements);
            current.storage = std::move(only.front().storage);
            continue;
        }
        JSONValue child(std::move(current.lastChild()));
        current.removeLastChild();
        while (child.hasChildren() && current.hasChildren()) {
            JSONValue& first = child.firstChild();
            first.storage.swap(current.storage); // `current` now holds the element taken out
            current.storage.swap(child.storage); // and changes places with the child
        }
        if (child.hasChildren()) current = std::move(child); // nothing left to come back to
    }
}

// Reading and changing

const JSONValue* JSONValue::operator[](std::string_view key) const {
    const Object* members = objectValue();
    if (!members) return nullptr;
    const auto found =
        std::find_if(members->begin(), members->end(), [&](const JSONMember& m) { return m.key == key; });
    return found == members->end() ? nullptr : &found->value;
}

JSONValue* JSONValue::operator[](std::string_view key) {
    return const_cast<JSONValue*>(std::as_const(*this)[key]);
}

void JSONValue::setMember(std::string_view key, std::optional<JSONValue> value) {
    Object* members = objectValue();
    if (!members) return;
    const auto found =
        std::find_if(members->begin(), members->end(), [&](const JSONMember& m) { return m.key == key; });
    if (found == members->end()) {
        if (value) members->push_back({std::string(key), std::move(*value)});
    } else if (value) {
        found->value = std::move(*value);
    } else {
        members->erase(found);
    }
}

const JSONValue* JSONValue::valueAt(Path path) const {
    const JSONValue* current = this;
    for (std::string_view key : path) {
        current = (*current)[key];
        if (!current) return nullptr;
    }
    return current;
}

const JSONValue* JSONValue::valueAt(std::initializer_list<std::string_view> path) const {
    return valueAt(Path(path.begin(), path.size()));
}

JSONValue* JSONValue::valueAt(Path path) {
    return const_cast<JSONValue*>(std::as_const(*this).valueAt(path));
}

JSONValue* JSONValue::valueAt(std::initializer_list<std::string_view> path) {
    return valueAt(Path(path.begin(), path.size()));
}

void JSONValue::set(Path path, std::optional<JSONValue> value) {
    if (path.empty() || !objectValue()) return;
    JSONValue* parent = this;
    for (std::string_view key : path.first(path.size() - 1)) {
        JSONValue* child = (*parent)[key];
        if (!child || !child->objectValue()) parent->setMember(key, object());
        parent = (*parent)[key];
    }
    parent->setMember(path.back(), std::move(value));
}

void JSONValue::set(std::initializer_list<std::string_view> path, std::optional<JSONValue> value) {
    set(Path(path.begin(), path.size()), std::move(value));
}

} // namespace quorvik
