#include "QuorvikApp/Loop/ChildProcess.h"

#include "QuorvikApp/Loop/Handle.h"

#include "QuorvikCore/Platform/Environment.h"
#include "QuorvikCore/Platform/RunProgram.h"

#include <csignal>

namespace quorvik {

namespace {

constexpr Timer::Seconds untilKilled(2);

/// How long output is still read after the program's end: it may have left a process that keeps it open.
constexpr Timer::Seconds outputAfterEnd(0.2);

std::vector<std::string> environment(ChildProcess::Locale locale) {
    auto variables = Platform::environment();
    if (locale == ChildProcess::Locale::plain) {
        variables["LC_ALL"] = "C";
        for (const char* colours : {"CLICOLOR_FORCE", "FORCE_COLOR", "GH_FORCE_TTY"})
            variables.erase(colours);
    }
    variables["GIT_OPTIONAL_LOCKS"] = "0";
    variables["GIT_TERMINAL_PROMPT"] = "0";
    std::vector<std::string> texts;
    for (const auto& [name, value] : variables)
        texts.push_back(name + "=" + value);
    return texts;
}

} // namespace

struct ChildProcess::Inner : std::enable_shared_from_this<ChildProcess::Inner> {
    struct Process : Handle<Process, uv_process_t> {
        std::weak_ptr<Inner> owner;
    };
    struct Output : Handle<Output, uv_pipe_t> {
        std::weak_ptr<Inner> owner;
    };
    struct Input : Handle<Input, uv_pipe_t> {
        uv_write_t request{};
        std::string text;
    };

    Inner(EventLoop& loop_, const Limits& limits_, Done done_, Listener listener_)
        : loop(loop_), limits(limits_), done(std::move(done_)), listener(std::move(listener_)),
          deadline(loop_, [this] { expired(); }) {}

    void start(std::vector<std::string> arguments, Locale locale, std::string text) {
        process = std::make_shared<Process>();
        output = std::make_shared<Output>();
        process->loop = output->loop = &loop;
        process->owner = output->owner = weak_from_this();
        uv_pipe_init(loop.handle(), &output->handle, 0); // cannot fail
        output->opened();

        std::vector<std::string> variables = environment(locale);
        std::vector<char*> words = Platform::argumentPointers(arguments);
        std::vector<char*> names = Platform::argumentPointers(variables);
        uv_stdio_container_t streams[3] = {};
        streams[0].flags = UV_IGNORE; // libuv puts /dev/null there
        std::shared_ptr<Input> input;
        if (!text.empty()) {
            input = std::make_shared<Input>();
            input->text = std::move(text);
            uv_pipe_init(loop.handle(), &input->handle, 0); // cannot fail
            input->opened();
            streams[0].flags = static_cast<uv_stdio_flags>(UV_CREATE_PIPE | UV_READABLE_PIPE);
            streams[0].data.stream = reinterpret_cast<uv_stream_t*>(&input->handle);
        }
        streams[1].flags = static_cast<uv_stdio_flags>(UV_CREATE_PIPE | UV_WRITABLE_PIPE);
        streams[1].data.stream = reinterpret_cast<uv_stream_t*>(&output->handle);
        streams[2].flags = UV_IGNORE;
        uv_process_options_t options{};
        options.file = words.front();
        options.args = words.data();
        options.env = names.data();
        options.cwd = "/";
        options.flags = UV_PROCESS_DETACHED; // a session of its own
        options.stdio_count = 3;
        options.stdio = streams;
        options.exit_cb = exited;
        const int error = uv_spawn(loop.handle(), &process->handle, &options);
        process->opened(); // also when it could not be started, libuv has to let go of it
        if (error != 0) {
            process->close();
            process.reset();
            if (input) input->close();
            result.failure = "could not run " + arguments.front() + ": " + uv_strerror(error);
            outputEnded = true;
            return finish();
        }
        if (input) write(*input);
        uv_read_start(reinterpret_cast<uv_stream_t*>(&output->handle), allocate, arrived);
        deadline.start(limits.time);
    }

    /// Writes as the program reads. A program that ends without having read all of it ends the writing.
    static void write(Input& input) {
        const uv_buf_t text = uv_buf_init(input.text.data(), static_cast<unsigned>(input.text.size()));
        const auto written = [](uv_write_t* request, int) {
            static_cast<Input*>(request->handle->data)->close();
        };
        if (uv_write(&input.request, reinterpret_cast<uv_stream_t*>(&input.handle), &text, 1, written) != 0)
            input.close();
    }

    static void exited(uv_process_t* handle, std::int64_t status, int signal) {
        auto* const ended = static_cast<Process*>(handle->data);
        const auto inner = ended->owner.lock();
        if (!inner) return ended->close();
        inner->process->close();
        inner->process.reset();
        if (signal == 0)
            inner->result.exitStatus = static_cast<int>(status);
        else if (inner->result.failure.empty())
            inner->result.failure = "it was ended by signal " + std::to_string(signal);
        if (inner->outputEnded)
            inner->finish();
        else
            inner->deadline.start(outputAfterEnd);
    }

    static void allocate(uv_handle_t*, std::size_t, uv_buf_t* buffer) {
        thread_local char chunk[65'536];
        *buffer = uv_buf_init(chunk, sizeof chunk);
    }

    static void arrived(uv_stream_t* stream, ssize_t count, const uv_buf_t* buffer) {
        const auto inner = static_cast<Output*>(stream->data)->owner.lock();
        if (!inner || count == 0) return;
        if (count < 0) {
            uv_read_stop(stream);
            inner->outputEnded = true;
            if (!inner->process) inner->finish();
            return;
        }
        if (inner->listener) {
            const std::string chunk(buffer->base, static_cast<std::size_t>(count));
            inner->loop.later([weak = std::weak_ptr(inner), chunk] {
                const auto kept = weak.lock();
                if (!kept || !kept->done) return;
                const Listener call = kept->listener; // it may destroy its owner
                call(chunk);
            });
            return;
        }
        inner->result.output.append(buffer->base, static_cast<std::size_t>(count));
        if (inner->result.output.size() > inner->limits.outputBytes) {
            inner->result.output.resize(inner->limits.outputBytes);
            uv_read_stop(stream);
            inner->outputEnded = true;
            inner->end("it writes too much");
            return;
        }
    }

    void expired() {
        if (!process) { // only its output is still held open
            outputEnded = true;
            return finish();
        }
        if (isEnding)
            kill(SIGKILL);
        else
            end("it took too long");
    }

    void end(std::string why, int signal = SIGTERM) {
        if (std::exchange(isEnding, true)) return;
        result.failure = std::move(why);
        if (!process) return finish();
        kill(signal);
        deadline.start(untilKilled);
    }

    /// Signals the process and everything that it started, except what has left its session.
    void kill(int signal) {
        if (process) ::kill(-process->handle.pid, signal);
    }

    void finish() {
        deadline.stop();
        output->close();
        if (!result.failure.empty()) result.exitStatus.reset();
        loop.later([weak = weak_from_this()] {
            const auto kept = weak.lock();
            if (!kept) return;
            if (const Done call = std::exchange(kept->done, {})) call(std::move(kept->result));
        });
    }

    EventLoop& loop;
    const Limits limits;
    Done done;
    const Listener listener;
    Result result;
    std::shared_ptr<Process> process; ///< null before it runs, and once it has ended
    std::shared_ptr<Output> output;
    Timer deadline;
    bool outputEnded = false, isEnding = false;
};

ChildProcess::ChildProcess(EventLoop& loop, const std::vector<std::string>& arguments, const Limits& limits,
                           Done done, Locale locale, Listener listener, std::string input)
    : inner_(std::make_shared<Inner>(loop, limits, std::move(done), std::move(listener))) {
    inner_->start(arguments, locale, std::move(input));
}

ChildProcess::~ChildProcess() {
    inner_->done = {};
    inner_->kill(SIGKILL);
    inner_->deadline.stop();
    inner_->output->close();
    // The process handle stays until libuv has heard of the end: somebody must ask for its status.
}

void ChildProcess::end(int signal) {
    if (inner_->process) inner_->end("it was asked to end", signal);
}

} // namespace quorvik
