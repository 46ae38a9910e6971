#include "quorvik_island/Terminal/LiveIsland.h"

#include "QuorvikCore/JSON/RecordCoding.h"
#include "QuorvikCore/Platform/DescriptorWait.h"
#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Text/Unicode.h"
#include "QuorvikCore/Text/VisibleText.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace quorvik {

namespace {

std::string_view nameOf(View::Mode mode) {
    constexpr std::array<std::string_view, 5> names = {"items", "help", "filter", "reason", "ownWords"};
    return names[static_cast<std::size_t>(mode)];
}

nlohmann::json effectJSON(const Effect& effect) {
    constexpr std::array<std::string_view, 12> names = {"answer", "acknowledge", "pick",      "unpick",
                                                        "open",   "connect",     "refresh",   "redraw",
                                                        "mouse",  "look",        "clipboard", "suspend"};
    const auto index = static_cast<std::size_t>(effect.kind);
    nlohmann::json json = {{"kind", index < names.size() ? names[index] : "quit"}};
    if (!effect.id.empty()) json["id"] = effect.id;
    if (!effect.path.empty()) json["path"] = effect.path;
    if (effect.kind == Effect::Kind::answer) json["response"] = effect.response.toJSON();
    return json;
}

class JSONIsland {
  public:
    explicit JSONIsland(const IslandServices& services) : frontEnd_(services) {}

    int run() {
        constexpr ControlClient::Seconds longest(20); // a program wants its first state to be a whole one
        frontEnd_.connect(ControlClient::Start::ifMissing);
        frontEnd_.app.await(longest);
        std::string input;
        while (!ended_) {
            Platform::AwaitedInput awaited[] = {{STDIN_FILENO}, {frontEnd_.app.descriptor()}};
            if (!Platform::awaitInput(awaited, milliseconds())) return 1;
            if (awaited[1].canRead) {
                frontEnd_.app.read();
                print();
            }
            if (!last_) frontEnd_.app.reconnect(); // who gives the state wants no other
            if (!awaited[0].canRead) continue;
            char bytes[65'536];
            const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
            if (count <= 0) break;
            input.append(bytes, static_cast<std::size_t>(count));
            std::size_t begin = 0;
            for (std::size_t end; !ended_ && (end = input.find('\n', begin)) != input.npos; begin = end + 1)
                take(std::string_view(input).substr(begin, end - begin));
            input.erase(0, begin);
        }
        return 0;
    }

  private:
    int milliseconds() const {
        const auto retry = frontEnd_.app.reconnectAt();
        if (!retry || last_) return -1;
        return static_cast<int>(std::ceil(std::max(*retry - steadySeconds(), 0.0) * 1000));
    }

    Moment now() const { return time_ ? Moment{dateFromSeconds(*time_), *time_} : momentNow(); }

    void take(std::string_view line) {
        effects_ = nlohmann::json::array();
        const auto message = parseJSON(line);
        if (!message || !message->is_object()) {
            frontEnd_.view.say("that is no JSON object");
        } else {
            try {
                take(*message);
            } catch (const std::exception& error) { // a member of another type
                frontEnd_.view.say(error.what());
            }
        }
        print();
    }

    void take(const nlohmann::json& message) {
        constexpr std::size_t most = 10'000; // rows, columns
        if (const auto time = message.find("time"); time != message.end()) time_ = time->get<double>();
        if (const auto size = message.find("resize"); size != message.end())
            size_ = {std::clamp<std::size_t>(size->at(0).get<std::size_t>(), 1, most),
                     std::clamp<std::size_t>(size->at(1).get<std::size_t>(), 1, most)};
        if (const auto state = message.find("snapshot"); state != message.end()) {
            last_ = std::make_shared<const Snapshot>(Snapshot::fromJSON(printJSON(*state), last_.get()));
            frontEnd_.view.show(last_);
        }
        frontEnd_.view.tick(now());
        const auto keys = message.find("keys");
        if (keys == message.end()) return;
        for (const nlohmann::json& each : *keys) {
            Key key;
            if (each.is_string())
                key.name = Unicode::repaired(each.get<std::string>());
            else
                key = {each.at("name").get<std::string>(), each.value("row", std::size_t{0}),
                       each.value("column", std::size_t{0})};
            for (const Effect& effect : frontEnd_.view.key(key, now())) {
                effects_.push_back(effectJSON(effect));
                if (effect.kind == Effect::Kind::quit) ended_ = true;
                frontEnd_.perform(effect);
            }
        }
    }

    void print() {
        const View& view = frontEnd_.view;
        const Frame frame = draw(view, size_, now().wall);
        frontEnd_.view.drawn(frame, now());
        frontEnd_.tellShown(frame);
        nlohmann::json lines = nlohmann::json::array();
        const std::string text = frame.text();
        for (std::string_view rest = text; !rest.empty();)
            lines.push_back(Unicode::takeLine(rest));
        const auto entries = view.entries();
        nlohmann::json unfolded = nlohmann::json::array();
        for (const auto& entry : entries)
            if (view.isUnfolded(entry)) unfolded.push_back(entry.key());
        nlohmann::json state = {{"frame", lines},
                                {"size", {frame.size.rows, frame.size.columns}},
                                {"cursor", {frame.cursorRow, frame.cursorColumn}},
                                {"mode", nameOf(view.mode())},
                                {"typed", view.typed()},
                                {"filter", view.filter()},
                                {"message", view.message()},
                                {"unfolded", unfolded},
                                {"effects", effects_},
                                {"sheet", nullptr},
                                {"selected", nullptr},
                                {"card", nullptr}};
        if (!entries.empty()) state["selected"] = entries[view.selectedIndex(entries)].key();
        if (view.sheets().isOpen()) {
            const Sheet& sheet = view.sheets().upper();
            state["sheet"] = {{"item", sheet.item},
                              {"path", sheet.path},
                              {"waits", sheet.isWaiting},
                              {"rows", sheet.rows.size()},
                              {"selected", sheet.selected}};
            if (view.mode() == View::Mode::items)
                state["mode"] =
                    std::array{"changes", "diff", "clipboard"}[static_cast<std::size_t>(sheet.kind)];
        }
        if (const CardState* card = view.card())
            state["card"] = {{"request", card->id()},
                             {"headline", card->card().headline},
                             {"isRead", card->isRead()},
                             {"takesKeys", view.cardTakesKeys(now())},
                             {"question", card->question()}};
        const std::string line = VisibleText::json(printJSON(state)) + "\n";
        if (!writeAll(STDOUT_FILENO, line.data(), line.size())) ended_ = true;
    }

    FrontEnd frontEnd_;
    ScreenSize size_;
    std::optional<double> time_;
    std::shared_ptr<const Snapshot> last_;
    nlohmann::json effects_ = nlohmann::json::array();
    bool ended_ = false;
};

} // namespace

int LiveIsland::asJSON(const IslandServices& services) {
    return JSONIsland(services).run();
}

} // namespace quorvik
