#include "QuorvikApp/Model/Snapshot.h"

#include "QuorvikCore/JSON/RawJSON.h"
#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Text/Unicode.h"

#include <algorithm>

namespace quorvik {

namespace {

using Text = std::string_view;

/// A JSON array of texts that are JSON already.
class ArrayWriter {
  public:
    explicit ArrayWriter(std::string& text) : text_(text) { text_ += '['; }
    ~ArrayWriter() { text_ += ']'; }
    void separate() {
        if (!first_) text_ += ',';
        first_ = false;
    }

  private:
    std::string& text_;
    bool first_ = true;
};

/// The object with one more member at its end.
std::string withMember(Text object, Text name, Text value) {
    const bool isEmpty = object.find_first_not_of(" \t\n\r{}") == object.npos;
    std::string text(object.substr(0, object.rfind('}')));
    text += isEmpty ? "\"" : ",\"";
    text.append(name).append("\":").append(value) += '}';
    return text;
}

bool beginsWithInk(Text text) {
    return !text.empty() && text.front() > ' ' && text.front() < 0x7F;
}

nlohmann::json settingsJSON(const Settings& settings) {
    nlohmann::json object = nlohmann::json::object();
    for (const SettingRule& rule : settingRules())
        object[std::string(rule.name)] = rule.get(settings);
    return object;
}

} // namespace

std::size_t itemLabelColumns(const SessionRecord& record) {
    // Asked for every session of every picture: most labels are their titles as they are.
    const bool isTitle =
        record.title && beginsWithInk(*record.title) && Unicode::isPrintableASCII(*record.title);
    return isTitle ? record.title->size() : Unicode::columnCount(itemLabel(record));
}

std::string itemLabel(const SessionRecord& record) {
    for (const auto* text : {&record.title, &record.tool}) {
        std::string shown = Unicode::terminalLine(text->value_or(""));
        if (beginsWithInk(shown) || !Unicode::trimmed(shown, Unicode::isWhitespace).empty()) return shown;
    }
    return std::string(displayName(record.source));
}

std::vector<const SnapshotItem*> Snapshot::items() const {
    std::vector<const SnapshotItem*> all;
    all.reserve(1 + bubbles.size() + overflow.size());
    if (primary) all.push_back(&*primary);
    for (const SnapshotItem& item : bubbles)
        all.push_back(&item);
    for (const SnapshotItem& item : overflow)
        all.push_back(&item);
    return all;
}

const WaitingRequest* Snapshot::request(std::string_view id) const {
    const auto found =
        std::ranges::find_if(requests, [&](const auto& waiting) { return waiting->request.id == id; });
    return found == requests.end() ? nullptr : found->get();
}

const WaitingRequest* Snapshot::requestOf(const SnapshotItem& item) const {
    const auto found = std::ranges::find_if(requests, [&](const auto& waiting) {
        return waiting->request.source == item.record->source &&
               waiting->request.sessionID == item.record->sessionID;
    });
    return found == requests.end() ? nullptr : found->get();
}

std::string SnapshotWriter::text(const Snapshot& snapshot) {
    ++generation_;
    std::string text;
    text.reserve(512 * (4 + snapshot.overflow.size()));

    const auto add = [&](const SnapshotItem& item) {
        Known& known = records_[item.record.get()];
        if (known.record != item.record) {
            // These members depend on the record alone and are kept. The others, "display", "needsAttention"
            // and "quiet", are written before them each time.
            known.record = item.record;
            known.text = "\"id\":" + RawJSON::encoded(item.id()) +
                         ",\"label\":" + RawJSON::encoded(itemLabel(*item.record)) + ",\"mark\":\"" +
                         std::string(mark(item.record->source)) +
                         "\",\"record\":" + printJSON(item.record->toJSON()) + "}";
        }
        known.generation = generation_;
        text.append("{\"display\":\"").append(rawValue(item.display));
        text += needsAttention(item.display) ? "\",\"needsAttention\":true" : "\",\"needsAttention\":false";
        text += item.quiet ? ",\"quiet\":true," : ",\"quiet\":false,";
        text += known.text;
    };
    const auto addAll = [&](const std::vector<SnapshotItem>& items) {
        ArrayWriter array(text);
        for (const SnapshotItem& item : items) {
            array.separate();
            add(item);
        }
    };

    text += "{\"alerts\":";
    {
        ArrayWriter array(text);
        for (const ShownAlert& shown : snapshot.alerts) {
            array.separate();
            nlohmann::json alert = shown.alert.toJSON();
            alert["key"] = shown.key;
            alert["receivedAt"] = secondsSince1970(shown.receivedAt);
            text += printJSON(alert);
        }
    }
    if (snapshot.alertsPausedUntil)
        text += ",\"alertsPausedUntil\":" + printJSON(secondsSince1970(*snapshot.alertsPausedUntil));
    text += ",\"bubbles\":";
    addAll(snapshot.bubbles);
    text += ",\"corrupt\":" + printJSON(snapshot.corrupt);
    nlohmann::json grants = nlohmann::json::object();
    for (const auto& waiting : snapshot.requests)
        if (!waiting->grants.empty()) grants[waiting->request.id] = waiting->grants;
    text += ",\"grants\":" + printJSON(grants);
    text += ",\"overflow\":";
    addAll(snapshot.overflow);
    text += ",\"primary\":";
    if (snapshot.primary)
        add(*snapshot.primary);
    else
        text += "null";
    text += ",\"requests\":";
    {
        ArrayWriter array(text);
        for (const auto& waiting : snapshot.requests) {
            array.separate();
            text +=
                withMember(waiting->members, "receivedAt", printJSON(secondsSince1970(waiting->receivedAt)));
        }
    }
    text += ",\"revision\":" + std::to_string(snapshot.revision);
    text += ",\"settings\":" + printJSON(settingsJSON(snapshot.settings));
    text += ",\"troubles\":" + printJSON(snapshot.troubles);
    text += ",\"unsupported\":" + printJSON(snapshot.unsupported) + "}";
    std::erase_if(records_, [&](const auto& entry) { return entry.second.generation != generation_; });
    return text;
}

/// Takes a snapshot's JSON text apart.
class SnapshotReader {
  public:
    SnapshotReader(Text text, const Snapshot* previous) : object_(objectOf(text)), previous_(previous) {}

    Snapshot read() {
        const RecordReader reader(object_);
        reader.required("revision", snapshot_.revision);
        readSettings();
        const std::string_view* primary = reader.member("primary");
        if (primary) snapshot_.primary = item(*primary);
        snapshot_.bubbles = items("bubbles");
        snapshot_.overflow = items("overflow");
        snapshot_.corrupt = texts("corrupt");
        snapshot_.unsupported = texts("unsupported");
        snapshot_.troubles = texts("troubles");
        readRequests();
        reader.optional("alertsPausedUntil", snapshot_.alertsPausedUntil);
        for (const Text& text : elements("alerts")) {
            const nlohmann::json value = json(text);
            const RecordReader alert(value);
            ShownAlert& shown = snapshot_.alerts.emplace_back();
            shown.alert = AlertRequest::fromJSON(value);
            alert.required("key", shown.key);
            alert.required("receivedAt", shown.receivedAt);
        }
        return std::move(snapshot_);
    }

  private:
    static RawJSON::Object objectOf(Text text) {
        auto object = RawJSON::object(text);
        if (!object) throw RecordError("not an object");
        return std::move(*object);
    }
    static nlohmann::json json(Text text) {
        auto value = parseJSON(text);
        if (!value) throw RecordError("not JSON");
        return std::move(*value);
    }

    std::vector<Text> elements(Text name) const {
        const Text* value = object_[name];
        if (!value) return {};
        auto found = RawJSON::elements(*value);
        if (!found) throw RecordError(std::string(name) + " has the wrong type");
        return std::move(*found);
    }

    std::vector<std::string> texts(Text name) const {
        std::vector<std::string> found;
        for (const Text& element : elements(name)) {
            auto text = RawJSON::string(element);
            if (!text) throw RecordError(std::string(name) + " has the wrong type");
            found.push_back(std::move(*text));
        }
        return found;
    }

    /// From the previous snapshot when the text is the same, else by `make`.
    template <typename Known, typename Make>
    auto shared(Text text, const Known* previous, Known& known, Make make) {
        const auto found = previous ? previous->find(text) : decltype(previous->find(text)){};
        const auto value = previous && found != previous->end() ? found->second : make();
        known.emplace(text, value);
        return value;
    }

    SnapshotItem item(Text text) {
        const RawJSON::Object object = objectOf(text);
        const RecordReader reader(object);
        SnapshotItem item;
        reader.required("display", item.display);
        reader.required("quiet", item.quiet);
        const Text* record = reader.member("record");
        if (!record) throw RecordError("record is missing");
        item.record =
            shared(*record, previous_ ? &previous_->recordTexts_ : nullptr, snapshot_.recordTexts_, [&] {
                return std::make_shared<const SessionRecord>(SessionRecord::fromJSON(objectOf(*record)));
            });
        return item;
    }

    std::vector<SnapshotItem> items(Text name) {
        std::vector<SnapshotItem> found;
        for (const Text& element : elements(name))
            found.push_back(item(element));
        return found;
    }

    void readRequests() {
        const Text* grantsText = object_["grants"];
        const nlohmann::json grants = grantsText ? json(*grantsText) : nlohmann::json::object();
        for (const Text& element : elements("requests"))
            snapshot_.requests.push_back(
                shared(element, previous_ ? &previous_->requestTexts_ : nullptr, snapshot_.requestTexts_,
                       [&] { return std::make_shared<const WaitingRequest>(request(element, grants)); }));
    }

    static WaitingRequest request(Text text, const nlohmann::json& grants) {
        const nlohmann::json value = json(text);
        WaitingRequest waiting;
        waiting.request = ApprovalRequest::fromJSON(value);
        RecordReader(value).required("receivedAt", waiting.receivedAt);
        RawJSON::MemberViews members = *RawJSON::members(text);
        members.erase("receivedAt");
        for (const auto& [name, member] : members)
            waiting.members.append(waiting.members.empty() ? "{" : ",")
                .append(RawJSON::encoded(name) + ":")
                .append(member);
        waiting.members += '}';
        const auto granted = grants.find(waiting.request.id);
        if (granted != grants.end() && granted->is_array())
            for (const auto& sentence : *granted)
                if (sentence.is_string()) waiting.grants.push_back(sentence.get<std::string>());
        return waiting;
    }

    void readSettings() {
        const Text* settings = object_["settings"];
        std::vector<std::string> problems; // an app of another version may know other settings
        if (settings) snapshot_.settings = Settings::parse(*settings, problems);
    }

    RawJSON::Object object_;
    const Snapshot* previous_;
    Snapshot snapshot_;
};

Snapshot Snapshot::fromJSON(std::string_view text, const Snapshot* previous) {
    return SnapshotReader(text, previous).read();
}

} // namespace quorvik
