#include "QuorvikCore/Install/HookFormat.h"
#include "QuorvikCore/JSON/RawJSON.h"

#include <string_view>

namespace quorvik {

namespace {

using Status = HookInstaller::Status;

/// Tells our file from one that the user made under the same name.
constexpr std::string_view header = "// quorvik-managed";

// The extension, without the line that follows the imports. Every pi event that changes what the user should
// see becomes one run of the hook program, detached, so that pi never waits for it.
constexpr std::string_view beforeHook =
    R"(// quorvik-managed — written by Quorvik; "Remove" in Quorvik's settings deletes this file.
// Reports pi's lifecycle to the Quorvik notch. It only reports state and never blocks a tool call.
import { spawn } from "node:child_process";
import { basename } from "node:path";

)";
constexpr std::string_view afterHook = R"(

function sessionId(ctx) {
  try {
    const file = ctx?.sessionManager?.getSessionFile?.();
    if (file) return basename(String(file)).replace(/\.jsonl$/, "");
  } catch {}
  return `pid-${process.pid}`;
}

function report(name, ctx, extra = {}) {
  try {
    const payload = JSON.stringify({
      hook_event_name: name,
      session_id: sessionId(ctx),
      cwd: ctx?.cwd ? String(ctx.cwd) : process.cwd(),
      ...extra,
    });
    const child = spawn(HOOK, ["--source", "pi", "--ppid", String(process.pid)], {
      stdio: ["pipe", "ignore", "ignore"],
      detached: true,
      env: { ...process.env, QUORVIK_MANAGED: "1" },
    });
    child.on("error", () => {});
    child.stdin.on("error", () => {});
    child.stdin.end(payload);
    child.unref();
  } catch {}
}

export default function (pi) {
  pi.on("session_start", async (_event, ctx) => {
    report("SessionStart", ctx);
  });
  pi.on("agent_start", async (_event, ctx) => {
    report("UserPromptSubmit", ctx);
  });
  // Carries the user's message; the event above only says a run began.
  pi.on("before_agent_start", async (event, ctx) => {
    if (event?.prompt) report("UserPromptSubmit", ctx, { prompt: String(event.prompt) });
  });
  pi.on("tool_call", async (event, ctx) => {
    report("PreToolUse", ctx, { tool_name: event?.toolName, tool_input: event?.input ?? {} });
  });
  pi.on("tool_result", async (event, ctx) => {
    report("PostToolUse", ctx, { tool_name: event?.toolName });
  });
  pi.on("agent_end", async (_event, ctx) => {
    report("Stop", ctx);
  });
  pi.on("session_shutdown", async (_event, ctx) => {
    report("SessionEnd", ctx);
  });
}
)";

constexpr std::string_view hookLine = "const HOOK = ";

std::string extension(std::string_view hookPath) {
    std::string text(beforeHook);
    text += std::string(hookLine) + "\"";
    for (const char byte : hookPath) {
        if (byte == '\\' || byte == '"') text += '\\';
        text += byte;
    }
    text += "\";";
    text += afterHook;
    return text;
}

bool isOurs(std::string_view text) {
    return text.find(header) != text.npos;
}

class PiHookFormat : public HookFormat {
  public:
    Status::Kind status(const HookTarget& target, const std::string& text,
                        const std::string& hookPath) const override {
        requireUTF8(text);
        if (!isOurs(text)) throw EditError(fileName(target) + " exists and is not Quorvik's");
        return text == extension(hookPath) ? Status::Kind::installed : Status::Kind::stale;
    }

    std::vector<HookInstaller::Entry> entries(const HookTarget& target,
                                              const std::string& text) const override {
        requireUTF8(text);
        if (!isOurs(text)) throw EditError(fileName(target) + " exists and is not Quorvik's");
        const std::size_t start = text.find(hookLine);
        if (start == text.npos) return {};
        const std::size_t value = start + hookLine.size();
        const auto path =
            RawJSON::string(std::string_view(text).substr(value, text.find(";\n", value) - value));
        if (!path) return {};
        return {{"", HookInstaller::command(target.source, *path)}};
    }

    std::string installed(const HookTarget& target, const Content& text,
                          const std::string& hookPath) const override {
        if (text && !isOurs(*text))
            throw EditError(fileName(target) + " already exists and was not written by Quorvik.");
        return extension(hookPath);
    }

    UserFileEdit::Decision uninstalled(const HookTarget&, const std::string& text) const override {
        return isOurs(text) ? UserFileEdit::Decision::remove() : UserFileEdit::Decision::keep();
    }

    bool needsBackup() const override { return false; } // generated, and can be again

  private:
    static std::string fileName(const HookTarget& target) { return target.fileURL.filename().string(); }
};

} // namespace

const HookFormat& piHookFormat() {
    static const PiHookFormat format;
    return format;
}

} // namespace quorvik
