#include "quorvik_island/Doctor/Check.h"

namespace quorvik::Doctor {

std::string_view Check::mark(State state) {
    switch (state) {
    case State::well: return "✓";
    case State::note: return "–";
    case State::warn: return "!";
    case State::bad: return "✗";
    }
    return "";
}

void Findings::well(std::string id, std::string words) {
    add({std::move(id), Check::State::well, std::move(words), {}});
}
void Findings::note(std::string id, std::string words, std::string advice) {
    add({std::move(id), Check::State::note, std::move(words), std::move(advice)});
}
void Findings::warn(std::string id, std::string words, std::string advice) {
    add({std::move(id), Check::State::warn, std::move(words), std::move(advice)});
}
void Findings::bad(std::string id, std::string words, std::string advice) {
    add({std::move(id), Check::State::bad, std::move(words), std::move(advice)});
}

void Findings::add(Check check) {
    if (check.state == Check::State::warn || check.state == Check::State::bad) isAllWell_ = false;
    listener_(check);
}

std::string agentCheck(Source agent, std::string_view check) {
    return "agents." + std::string(rawValue(agent)) + "." + std::string(check);
}

std::string listed(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t index = 0; index < names.size(); ++index) {
        if (index > 0) text += index + 1 == names.size() ? " and " : ", ";
        text += names[index];
    }
    return text;
}

std::string counted(std::size_t count, std::string_view what) {
    return std::to_string(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

} // namespace quorvik::Doctor
