#include "quorvik_island/Arguments.h"
#include "quorvik_island/CommandLine/HelpText.h"
#include "quorvik_overlay/Overlay.h"
#include "quorvik_overlay/OverlayDoctor.h"
#include "quorvik_overlay/Platform/DesktopWindow.h"

#include "QuorvikApp/Control/BackgroundProgram.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/FileDescriptor.h"
#include "QuorvikCore/Platform/RunProgram.h"
#include "QuorvikCore/Session/QuorvikPaths.h"
#include "QuorvikCore/Text/Number.h"
#include "QuorvikCore/Text/Unicode.h"

#include <fcntl.h>
#include <unistd.h>

#include <QApplication>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <system_error>

namespace quorvik {

namespace {

enum ExitStatus : int { exitSuccess = 0, exitFailure = 1, exitUsage = 3 };

BackgroundProgram::Readiness readiness; // of this process; Qt's message handler takes no argument

void complain(std::string_view message) {
    std::cerr << "quorvik-overlay: " << Unicode::terminalLine(message) << std::endl;
}

int fail(const std::string& why) {
    complain(why);
    readiness.report(why);
    return exitFailure;
}

/// One line for each of Qt's messages; what ends the program must not end it by a crash.
void tell(QtMsgType type, const QMessageLogContext&, const QString& message) {
    constexpr int most = 200; // lines of one run
    static int lines = 0;
    const std::string text = message.section('\n', 0, 0).toStdString();
    if (type == QtFatalMsg) ::_exit(fail(text));
    if (type != QtDebugMsg && type != QtInfoMsg && ++lines <= most) complain(text);
}

int descriptor(const std::string& text) {
    const auto number = Number::integer<int>(text);
    if (!number || *number < 3) throw UsageError("that is no descriptor: " + text);
    return *number;
}

/// Leaves the starter's session, and runs this program anew: on macOS a process that has forked must not use
/// the system's frameworks before it has executed something.
int becomeBackgroundProgram(int pipe) {
    readiness = BackgroundProgram::detach(pipe, QuorvikPaths::overlayLog());
    constexpr off_t longestLog = 1 << 18; // bytes
    if (::lseek(STDERR_FILENO, 0, SEEK_END) > longestLog && ::ftruncate(STDERR_FILENO, 0) != 0)
        complain("the log cannot be shortened");
    ::fcntl(pipe, F_SETFD, 0);
    std::vector<std::string> words = {Platform::runningProgram().string(),
                                      "--reports-to=" + std::to_string(pipe)};
    ::execv(words[0].c_str(), Platform::argumentPointers(words).data());
    return fail("could not run " + words[0] + ": " + std::generic_category().message(errno));
}

/// quit() would ask the window first, which may be about to say no.
void end() {
    QCoreApplication::exit(exitSuccess);
}

/// Ends Qt's loop at SIGTERM, SIGINT and SIGHUP.
class EndSignals {
  public:
    EndSignals() {
        static int writeEnd = pipe_.writeEnd.get();
        for (const int signal : {SIGTERM, SIGINT, SIGHUP})
            std::signal(signal, [](int) {
                const char byte = 0;
                [[maybe_unused]] const ssize_t count = ::write(writeEnd, &byte, 1);
            });
        notifier_ = std::make_unique<QSocketNotifier>(pipe_.readEnd.get(), QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, qApp, end);
    }

  private:
    Pipe pipe_ = Pipe::create();
    std::unique_ptr<QSocketNotifier> notifier_;
};

int run(std::span<const std::string> commandLine, int& argc, char** argv) {
    const ProgramRow& program = *CommandTable::program("quorvik-overlay");
    const Arguments arguments = Arguments::parse(program.self, commandLine);
    if (const auto status = HelpText::printIfAsked(program, arguments)) return *status;
    if (const std::string* given = arguments.value("--detached"))
        return becomeBackgroundProgram(descriptor(*given));
    if (const std::string* given = arguments.value("--reports-to")) {
        readiness.descriptor = descriptor(*given);
        ::fcntl(readiness.descriptor, F_SETFD, FD_CLOEXEC);
    }
    const Platform::PluginChoice choice = Platform::choosePlugin();
    if (!choice.isPossible) return fail(choice.why);
    if (!choice.plugin.empty()) ::setenv("QT_QPA_PLATFORM", choice.plugin.c_str(), 1);
    if (choice.layerShell) ::setenv("QT_WAYLAND_SHELL_INTEGRATION", "layer-shell", 1); // read as Qt starts
    std::signal(SIGPIPE, SIG_IGN);

    qInstallMessageHandler(tell);
    QApplication application(argc, argv);
    QApplication::setApplicationName("quorvik-overlay");
    QApplication::setDesktopFileName("quorvik-overlay");
    QApplication::setQuitOnLastWindowClosed(false);
    if (arguments.has("--doctor")) {
        const OverlayDoctor::Report report = OverlayDoctor::report(choice);
        std::cout << report.lines << std::flush;
        return report.isWell ? exitSuccess : exitFailure;
    }

    const EndSignals endSignals;
    Overlay overlay({.secrets = RequestCard::credentials, .home = Platform::homeFolder()});
    Platform::prepareOverlay(overlay.window(), choice);
    QObject::connect(&overlay, &Overlay::quit, qApp, end, Qt::QueuedConnection);
    QObject::connect(&overlay, &Overlay::ready, qApp, [] { readiness.report("ready"); });
    QObject::connect(&overlay, &Overlay::taken, qApp, [](const std::string& why) {
        readiness.report("running " + why);
        complain(why);
        QCoreApplication::exit(exitSuccess);
    });
    overlay.start();
    return QApplication::exec();
}

} // namespace

} // namespace quorvik

int main(int argc, char** argv) {
    quorvik::occupyStandardDescriptors();
    try {
        return quorvik::run(std::vector<std::string>(argv + std::min(argc, 1), argv + argc), argc, argv);
    } catch (const quorvik::UsageError& error) {
        quorvik::complain(std::string(error.what()) + " (see quorvik-overlay --help)");
        return quorvik::exitUsage;
    } catch (const std::exception& error) {
        return quorvik::fail(error.what());
    }
}
