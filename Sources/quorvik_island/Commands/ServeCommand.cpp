#include "quorvik_island/Commands/ServeCommand.h"

#include "quorvik_island/Arguments.h"
#include "quorvik_island/Console.h"

#include "QuorvikApp/Control/BackgroundProgram.h"
#include "QuorvikApp/Services/App.h"

#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Number.h"

namespace quorvik::ServeCommand {

int run(const Arguments& arguments) {
    BackgroundProgram::Readiness readiness;
    if (const std::string* given = arguments.value("--detached")) {
        const auto descriptor = Number::integer<int>(*given);
        if (!descriptor || *descriptor < 3) throw UsageError("serve: --detached needs a descriptor");
        readiness = BackgroundProgram::detach(*descriptor, QuorvikPaths::appLog());
    }
    Console console(false);
    try {
        if (App::run([&] { readiness.report("ready"); }) == App::Outcome::runsElsewhere) {
            readiness.report("running");
            if (readiness.descriptor < 0) console.note("Quorvik is running already");
        }
    } catch (const AppError& error) {
        readiness.report(error.what());
        console.fail(error.what());
    }
    return console.exitStatus();
}

} // namespace quorvik::ServeCommand
