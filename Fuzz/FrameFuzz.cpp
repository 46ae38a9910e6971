#include "Fuzz/Check.h"
#include "quorvik_island/Terminal/View.h"

#include "QuorvikApp/Model/GitRecords.h"

#include "QuorvikCore/Text/Unicode.h"

#include <string>

using namespace quorvik;

namespace {

/// Takes small decisions and texts from the bytes.
class Choices {
  public:
    explicit Choices(std::string_view bytes) : bytes_(bytes) {}
    bool isEmpty() const { return bytes_.empty(); }
    std::size_t below(std::size_t limit) {
        if (bytes_.empty()) return 0;
        const auto byte = static_cast<unsigned char>(bytes_.front());
        bytes_.remove_prefix(1);
        return byte % limit;
    }
    std::string text() {
        const std::string_view taken = bytes_.substr(0, below(60));
        bytes_.remove_prefix(std::min(taken.size(), bytes_.size()));
        return std::string(taken);
    }

  private:
    std::string_view bytes_;
};

SnapshotItem item(Choices& from) {
    SessionRecord record(allSources()[from.below(allSources().size())], from.text(), from.text(),
                         dateFromSeconds(static_cast<double>(from.below(200)) * 60));
    record.title = from.text();
    record.tool = from.text();
    if (from.below(4) == 0) record = GitRecords::changes(from.text(), {}, dateFromSeconds(0));
    record.summary = from.text();
    const auto display = static_cast<DisplayState>(from.below(6));
    return {std::make_shared<const SessionRecord>(std::move(record)), display, from.below(2) == 0};
}

Snapshot snapshot(Choices& from) {
    Snapshot snapshot;
    if (from.below(2) == 0) snapshot.primary = item(from);
    for (std::size_t count = from.below(4); count > 0; --count)
        snapshot.overflow.push_back(item(from));
    for (std::size_t count = from.below(3); count > 0; --count) {
        auto waiting = std::make_shared<WaitingRequest>();
        ApprovalRequest& request = waiting->request;
        request = {.id = std::to_string(count), .sessionID = from.text(), .cwd = from.text()};
        if (snapshot.primary && from.below(2) == 0) request.sessionID = snapshot.primary->record->sessionID;
        request.tool = from.text();
        request.input = from.below(2) == 0 ? from.text() : printJSON({{"command", from.text()}});
        if (from.below(3) == 0) {
            request.questions = {{.question = from.text(), .options = {{from.text(), from.text()}}}};
            request.questionsJSON = "[]";
        }
        waiting->grants = {from.text()};
        waiting->members = printJSON(request.toJSON());
        snapshot.requests.push_back(std::move(waiting));
    }
    snapshot.troubles = {from.text()};
    return snapshot;
}

/// What the app answers to a sheet that asks for its content.
nlohmann::json answerTo(const Effect& look, Choices& from) {
    if (from.below(8) == 0) return {{"files", from.text()}};
    if (!look.path.empty()) {
        FileDiff diff{.path = look.path, .notes = {from.text()}, .isShortened = from.below(2) == 0};
        for (std::size_t count = from.below(20); count > 0; --count)
            diff.lines.push_back(
                {static_cast<DiffLine::Kind>(from.below(5)), from.below(200), {}, from.text()});
        return diffJSON(diff);
    }
    ItemChanges changes{{"", "", "2"}, {.fileCount = 3}};
    for (std::size_t count = from.below(4); count > 0; --count)
        changes.set.files.push_back({.path = from.text(),
                                     .oldPath = from.text(),
                                     .status = static_cast<FileChange::Status>(from.below(7)),
                                     .isBinary = from.below(2) == 0});
    return changes.toJSON();
}

std::vector<VisibleText::Range> someSecrets(std::string_view text) {
    if (text.size() < 4) return {};
    return {{1, 2}, {text.size() / 2, text.size() - 1}};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Choices from({reinterpret_cast<const char*>(data), size});
    View view({.secrets = someSecrets, .home = "/h"});
    constexpr const char* keys[] = {"j", "k", "Enter", "Esc",  "n",    "a",  "A",    "d",
                                    "1", "2", "w",     "PgDn", "PgUp", "v",  "/",    "?",
                                    "t", "G", "g",     "Left", "x",    "漢", "\xFF", "Click"};
    for (double seconds = 0; !from.isEmpty() && seconds < 100; ++seconds) {
        if (from.below(4) == 0) view.show(std::make_shared<const Snapshot>(snapshot(from)));
        const ScreenSize screen{1 + from.below(30), 1 + from.below(100)};
        const Moment now{dateFromSeconds(5000 + seconds), seconds};
        const Frame frame = draw(view, screen, now.wall);
        CHECK(frame.size == screen);
        CHECK(frame.rows.size() == screen.rows && frame.entryOfRow.size() == screen.rows);
        CHECK(frame.cursorRow < screen.rows && frame.cursorColumn < screen.columns);
        CHECK(!frame.nextChange || *frame.nextChange > now.wall);
        for (const FrameRow& row : frame.rows) {
            CHECK(Unicode::columnCount(row.text) <= screen.columns);
            CHECK(Unicode::terminalLine(row.text) == row.text);
            CHECK((row.spans.empty() ? 0 : row.spans.back().end) == row.text.size());
        }
        view.drawn(frame, now);
        for (std::size_t count = from.below(4); count > 0; --count) {
            const Key key{keys[from.below(std::size(keys))], from.below(30), 0};
            for (const Effect& effect : view.key(key, {now.wall, seconds + 0.5})) {
                if (effect.kind == Effect::Kind::look) view.looked(answerTo(effect, from));
                if (effect.kind != Effect::Kind::answer) continue;
                if (effect.response.decision == ApprovalDecision::deny) continue;
                CHECK(frame.card && frame.card->request == effect.id); // only what is in view
                if (effect.response.decision != ApprovalDecision::ask) CHECK(view.card()->card().allow);
            }
        }
    }
    return 0;
}
