# For a tap: url and sha256 are filled in for each release.
class Quorvik < Formula
  desc "Tells what your coding agents, commands and services are doing"
  homepage "https://quorvik.dev"
  url "https://quorvik.dev/releases/quorvik-0.1.0.tar.gz"
  sha256 "0000000000000000000000000000000000000000000000000000000000000000"
  head "https://quorvik.dev/quorvik.git", branch: "main"

  depends_on "cli11" => :build
  depends_on "cmake" => :build
  depends_on "ninja" => :build
  depends_on "nlohmann-json" => :build
  depends_on "libplist"
  depends_on "libuv"
  depends_on macos: :ventura
  depends_on "pcre2"
  depends_on "qt" => :recommended # for the overlay
  depends_on "utf8proc"

  uses_from_macos "curl"
  uses_from_macos "ncurses"

  def install
    system "cmake", "-S", ".", "-B", "build", "-G", "Ninja", "-DQUORVIK_TESTS=OFF", *std_cmake_args
    system "cmake", "--build", "build"
    system "cmake", "--install", "build"
  end

  def caveats
    <<~EOS
      Connect your coding agents, and see that their hooks fire:
        quorvik-island hooks install && quorvik-island doctor
      After an upgrade:
        quorvik-island update
    EOS
  end

  service do
    run [opt_bin/"quorvik-island", "serve"]
    keep_alive successful_exit: false
    environment_variables PATH: std_service_path_env
    process_type :interactive
    error_log_path var/"log/quorvik.log"
  end

  test do
    ENV["QUORVIK_HOME"] = testpath/"support"
    assert_match version.to_s, shell_output("#{bin}/quorvik-island --version")
    # A supervised command that fails leaves its output, its status and a record with the line that says why.
    assert_equal "error: it broke\n", shell_output("#{bin}/quorvik run -- sh -c 'echo error: it broke; exit 3'", 3)
    assert_match "error: it broke", shell_output("#{bin}/quorvik-island show")
    # An agent's hook, as its settings will run it, leaves a record too.
    (testpath/".claude").mkpath
    ENV["HOME"] = testpath
    system bin/"quorvik-island", "hooks", "install", "claude"
    command = JSON.parse((testpath/".claude/settings.json").read)["hooks"]["PreToolUse"][0]["hooks"][0]["command"]
    refute_match "Cellar", command # which the next upgrade removes
    event = '{"session_id":"s","cwd":"/","hook_event_name":"PreToolUse","tool_name":"Bash","tool_input":{"command":"ls"}}'
    pipe_output(["sh", "-c", command].shelljoin, event, 0)
    assert_path_exists testpath/"support/sessions/claude-s.json"
  end
end
