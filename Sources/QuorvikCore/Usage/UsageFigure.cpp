#include "QuorvikCore/Usage/UsageFigure.h"

#include "QuorvikCore/Platform/Files.h"

#include <unistd.h>

#include <algorithm>

namespace quorvik {

bool UsageFigure::isCurrent(Date now) const {
    return now - toldAt <= std::chrono::minutes(5);
}

UsageFigure UsageFigure::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    UsageFigure figure;
    reader.required("window", figure.window);
    reader.required("toldAt", figure.toldAt);
    const UsageWindow& window = figure.window;
    if (plausibleWindow(window.id, window.agent, window.minutes, window.usedPercent,
                        secondsSince1970(window.resetsAt)) != window)
        throw RecordError("window cannot be true");
    return figure;
}

nlohmann::json UsageFigure::toJSON() const {
    return {{"window", window.toJSON()}, {"toldAt", secondsSince1970(toldAt)}};
}

std::optional<UsageWindow> plausibleWindow(std::string id, Source agent, std::int64_t minutes,
                                           double usedPercent, double resetsAt) {
    constexpr std::int64_t year = 366 * 24 * 60;
    constexpr double endOfTime = 253'402'300'800; // the year 10000
    const bool isPlausible = usedPercent >= 0 && usedPercent <= 1000 && minutes > 0 && minutes <= year &&
                             resetsAt > 0 && resetsAt < endOfTime;
    if (!isPlausible) return std::nullopt;
    return UsageWindow{std::move(id), agent, minutes, std::min(usedPercent, 100.0),
                       dateFromSeconds(resetsAt)};
}

namespace UsageFigures {

std::vector<UsageFigure> parse(std::string_view text) {
    constexpr std::size_t most = 32;
    std::vector<UsageFigure> figures;
    const auto document = parseJSON(text);
    if (!document) return {};
    try {
        RecordReader(*document).required("figures", figures);
    } catch (const RecordError&) {
        return {};
    }
    if (figures.size() > most) return {};
    return figures;
}

std::string text(std::span<const UsageFigure> figures) {
    return printJSON({{"figures", listJSON(std::vector(figures.begin(), figures.end()))}});
}

std::vector<UsageFigure> read(const std::filesystem::path& path) {
    constexpr std::size_t most = 1 << 16; // bytes
    const auto content = Files::read(path, most);
    return content ? parse(*content) : std::vector<UsageFigure>();
}

void write(const std::filesystem::path& path, std::span<const UsageFigure> figures) {
    Files::createPrivateFolder(path.parent_path());
    const std::string name = "." + path.filename().string() + "." + std::to_string(::getpid()) + ".tmp";
    Files::replace(path, text(figures), path.parent_path() / name, 0600);
}

} // namespace UsageFigures

} // namespace quorvik
