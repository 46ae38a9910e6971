#include "QuorvikApp/Services/SettingsService.h"

#include "QuorvikApp/Services/Log.h"

#include "QuorvikCore/Platform/FileError.h"
#include "QuorvikCore/Platform/Files.h"
#include "QuorvikCore/Session/QuorvikPaths.h"

#include <algorithm>

namespace quorvik {

namespace {

constexpr std::size_t maxSettingsSize = 1 << 20, maxMemorySize = 16 << 20; // bytes

/// After a look that failed; twice as long after each further one.
constexpr Timer::Seconds firstRetry(0.5), lastRetry(30);

} // namespace

SettingsService::SettingsService(EventLoop& loop, IslandModel& model, EventLoop::Handler changed)
    : loop_(loop), model_(model), changed_(std::move(changed)), retry_(loop, [this] { reload(); }),
      retryAfter_(firstRetry) {
    try {
        readMemory();
    } catch (const FileError&) {
        // saveMemory() reads it again before it writes, and says what is wrong.
    }
    reload();
}

void SettingsService::reload() {
    std::error_code error;
    const std::filesystem::path file = QuorvikPaths::settingsFile();
    const auto content = Files::read(file, maxSettingsSize, &error);
    std::vector<std::string> problems;
    if (!content && error != std::errc::no_such_file_or_directory) {
        problems.push_back("settings: " + std::string(FileError("read", file, error.value()).what()));
        model_.setTroubles("settings", std::move(problems), loop_.now());
        // What was in force stays so. Nobody tells when it can be read again: too many files may be open.
        lastText_.reset();
        retry_.start(retryAfter_);
        retryAfter_ = std::min(2 * retryAfter_, lastRetry);
        return changed_();
    }
    retry_.stop();
    retryAfter_ = firstRetry;
    const std::string text = content.value_or("");
    if (lastText_ == text) return;
    lastText_ = text;
    const Settings settings = Settings::parse(text, problems);
    for (const std::string& problem : problems)
        Log::line(problem);
    model_.setTroubles("settings", std::move(problems), loop_.now());
    model_.setSettings(settings, loop_.now());
    changed_();
}

void SettingsService::readMemory() {
    std::error_code error;
    const std::filesystem::path file = QuorvikPaths::memoryFile();
    savedMemory_ = Files::read(file, maxMemorySize, &error);
    if (!savedMemory_ && error != std::errc::no_such_file_or_directory)
        throw FileError("read", file, error.value());
    if (!savedMemory_) savedMemory_.emplace();
    // What has been chosen meanwhile is added.
    Memory memory = Memory::parse(*savedMemory_);
    memory.acknowledged.insert(model_.memory().acknowledged.begin(), model_.memory().acknowledged.end());
    if (model_.memory().pick) memory.pick = model_.memory().pick;
    if (model_.memory().alertsPausedUntil) memory.alertsPausedUntil = model_.memory().alertsPausedUntil;
    model_.setMemory(std::move(memory));
}

void SettingsService::saveMemory() {
    const std::filesystem::path file = QuorvikPaths::memoryFile();
    std::vector<std::string> troubles;
    try {
        if (!savedMemory_) readMemory();
        std::string text = model_.memory().text();
        if (text != savedMemory_) {
            Files::replace(file, text, file.string() + ".tmp", 0600); // one app writes it: one name will do
            savedMemory_ = std::move(text);
        }
    } catch (const FileError& failure) {
        troubles.push_back("what you wave away and pick is not kept: " + std::string(failure.what()));
    }
    model_.setTroubles("memory", std::move(troubles), loop_.now());
}

} // namespace quorvik
