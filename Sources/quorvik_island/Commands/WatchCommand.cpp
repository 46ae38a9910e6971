#include "quorvik_island/Commands/WatchCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/ControlClient.h"
#include "QuorvikApp/Model/BarLine.h"

#include "QuorvikCore/Text/VisibleText.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>

namespace quorvik::WatchCommand {

namespace {

/// Prints snapshots, as lines that differ from the line before.
class Printer {
  public:
    explicit Printer(std::optional<BarLine::Format> format) : format_(format) {}

    /// False when they can no longer be written.
    bool print(const Snapshot& snapshot) {
        std::string line =
            format_ ? BarLine::of(*format_, snapshot) : VisibleText::json(writer_.text(snapshot));
        if (last_ == line) return true;
        last_ = line;
        line += '\n';
        return writeAll(STDOUT_FILENO, line.data(), line.size());
    }

    /// Prints an empty snapshot whose trouble is `why`, when there is no app.
    bool printNothing(const char* why) {
        Snapshot nothing;
        nothing.troubles = {why};
        return print(nothing);
    }

  private:
    std::optional<BarLine::Format> format_; ///< absent: JSON
    SnapshotWriter writer_;
    std::optional<std::string> last_;
};

/// Waits until `descriptor` (-1 for none) can be read, at most `longest`. False when the reader of our
/// standard output is gone. Status bars end without telling their children, and the next write may be hours
/// away.
bool wait(int descriptor, std::chrono::milliseconds longest) {
    // macOS tells of the end only those who ask for something; where it cannot tell at all it says POLLNVAL,
    // at once and every time.
    static bool outputTells = true;
    std::array<pollfd, 2> ends = {{{outputTells ? STDOUT_FILENO : -1, POLLHUP, 0}, {descriptor, POLLIN, 0}}};
    const int count = ::poll(ends.data(), ends.size(), static_cast<int>(longest.count()));
    if (count > 0 && (ends[0].revents & POLLNVAL) != 0) outputTells = false;
    return count <= 0 || (ends[0].revents & (POLLERR | POLLHUP)) == 0;
}

constexpr std::chrono::milliseconds forever(-1);

/// Prints the snapshots that the app sends. Returns false when the reader is gone; throws NoApp when the app
/// is.
bool follow(ControlClient& client, Printer& printer) {
    for (;;) {
        std::shared_ptr<const Snapshot> newest;
        while (auto message = client.read())
            if (auto* snapshot = std::get_if<std::shared_ptr<const Snapshot>>(&*message)) newest = *snapshot;
        if (newest && !printer.print(*newest)) return false;
        if (!wait(client.descriptor(), forever)) return false;
    }
}

} // namespace

int run(const Arguments& arguments) {
    std::optional<BarLine::Format> format;
    if (!arguments.has("--json")) format = BarLine::Format::plain;
    if (const std::string* chosen = arguments.value("--format")) {
        if (!format) throw UsageError("watch: --json is a format of its own");
        format = fromRawValue<BarLine::Format>(*chosen);
    }

    constexpr std::chrono::milliseconds shortest(50), longest(2000);
    Console console(false);
    Printer printer(format);
    std::string why;
    auto pause = shortest;
    for (auto start = ControlClient::Start::ifMissing;; start = ControlClient::Start::never) {
        try {
            ControlClient client = ControlClient::connect("watch", start);
            client.subscribe();
            pause = shortest;
            why.clear();
            if (!follow(client, printer)) return exitSuccess;
        } catch (const std::exception& error) { // also what it says that makes no sense
            if (why != error.what()) console.note(error.what());
            why = error.what();
            if (!printer.printNothing(error.what()) || !wait(-1, pause)) return exitSuccess;
            pause = std::min(2 * pause, longest);
        }
    }
}

} // namespace quorvik::WatchCommand
