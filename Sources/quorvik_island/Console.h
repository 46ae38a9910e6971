#pragma once

#include <nlohmann/json.hpp>

#include <string_view>

namespace quorvik {

/// Exit statuses of the program.
enum ExitStatus : int { exitSuccess = 0, exitFailure = 1, exitUsage = 3 };

/// What one run says: results on standard output, failures on standard error, a line each.
class Console {
  public:
    /// With `json`, results are values, of which the run prints one at its end, instead of lines.
    explicit Console(bool json) : json_(json) {}

    bool json() const { return json_; }

    /// A result. Prints it unless the run speaks JSON.
    void line(std::string_view text);

    /// line() for any number of lines, each with its line feed, written in one go.
    void text(std::string_view lines);

    /// The one value of a run that speaks JSON; ignored otherwise.
    void value(const nlohmann::json& value);

    /// value() for a value that is JSON text already.
    void valueText(std::string_view text);

    /// Worth knowing, but no failure: "quorvik-island: <message>" on standard error.
    void note(std::string_view message);

    /// A failure: "quorvik-island: <message>". The run goes on, and ends with exitFailure.
    void fail(std::string_view message);

    /// exitFailure after a failure, or when results could not be written. A reader that has seen enough, and
    /// closed its end, is no failure.
    int exitStatus() const { return failed_ ? exitFailure : exitSuccess; }

  private:
    void print(std::string_view text);

    bool json_;
    bool failed_ = false;
};

} // namespace quorvik
