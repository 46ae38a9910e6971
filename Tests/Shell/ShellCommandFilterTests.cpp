#include "Tests/Support/Text.h"

#include "QuorvikCore/Shell/ShellCommandFilter.h"

#include <gtest/gtest.h>

namespace quorvik::ShellCommandFilter {

using testing::split;

namespace {

/// Each of the forms (between bars), with each of the names in place of "%".
void expectEach(std::string_view names, const std::string& forms, bool failed, bool tracked) {
    for (const std::string_view name : words(names)) {
        for (std::string command : split(forms)) {
            for (auto at = command.find('%'); at != command.npos; at = command.find('%'))
                command.replace(at, 1, name);
            EXPECT_EQ(isTracked(command, failed), tracked) << command;
        }
    }
}

} // namespace

/// One or two names of every set: that the others are in it can be read in the source.
TEST(ShellCommandFilterTests, EverySet) {
    for (const auto& [names, untracked, tracked] : std::initializer_list<std::array<std::string, 3>>{
             {"sudo builtin", "%|% -x|% vim|/usr/bin/% -n % --x A=1 vim f",
              "% make|% -E make test|% -u a vim"},
             {"vim ssh k9s claude say", "%|% file|/opt/x/% -x file|A=1 %", "x%|%.sh|cat %|./%x/make"},
             {"python bun redis-cli R", "%|% -i --flag|/usr/bin/%", "% script.x|% -u script.x|x%"},
             {"vite webpack-dev-server", "%|% build|sudo /usr/sbin/% -t", "%d|npx %"},
             {"next ng", "%|% --port 1 dev|% --help|% dev|% s|% preview|% build dev",
              "% build|% --prod build|% devx|% Dev"},
             {"npm just", "% dev|% server|% run dev|% run-script start|% run task -x run-script serve --y",
              "% test|% test dev|% run test|% --x install|% run dev:x"},
             {"wrangler vc", "% dev|% --x dev|A=1 % dev y", "%|% deploy|% x dev"},
             {"commit push merge",
              "git %|git -C repo %|git --no-pager -c a=b %|sudo /usr/bin/git --git-dir x --work-tree y "
              "--namespace z %",
              "git x%|git --git-dir % fetch|git x %"},
         }) {
        expectEach(names, untracked, false, false);
        expectEach(names, tracked, false, true);
    }
    // A failed git command, by other rules.
    expectEach("push clone am", "git %|A=1 sudo -x env /usr/bin/git -C y --no-pager % z", true, true);
    expectEach("log add x", "git %|git -C push %|git % push|nice git --bare %", true, false);
    expectEach("-C -c --git-dir --work-tree --namespace", "git %|git % push", true, false);
}

TEST(ShellCommandFilterTests, IsTracked) {
    for (const auto& [tracked, failure, list] : std::initializer_list<std::tuple<bool, bool, std::string>>{
             {false, false, "| \t\n\u3000|A=1 B=2|sudo -E|make\u00A0dev|make\ndev|vim/|vim git push"},
             {false, false, "docker logs -f x|docker compose logs|docker compose up"},
             {false, false, "docker compose -f x up web|docker compose up -d logs"},
             {false, false, "cargo watch|cargo -q watch -x test|wrangler pages dev"},
             {true, true, "=1 make|FOO=1 sudo -E nice make test|MAKE dev|/|-|\xFF\xFE make"},
             {true, true, "docker compose up -d|docker --detach compose up|docker build ."},
             {true, true, "cargo test watch|wrangler pages deploy dev|vercel pages dev"},
             // "sudo -u x y" is taken to be the command "x"; of what stands before "git", only what cannot be
             // a command is passed over.
             {true, true, "sudo -u admin vim|cd x && git push|sudo -u admin git status|echo git|gitk push"},
             {true, true, "git clone x|git cherry-pick x"},
             {true, false, "git|git --version|git status|git git"},
             {false, true, "git push"},
         }) {
        for (const std::string& command : split(list)) {
            EXPECT_EQ(isTracked(command), tracked) << command;
            EXPECT_EQ(isTracked(command, false), tracked) << command;
            EXPECT_EQ(isTracked(command, true), failure) << command;
        }
    }
}

TEST(ShellCommandFilterTests, IsAssignment) {
    for (const std::string& word : split("A=|a=b|FOO_1=bar|1=x|_=_|é=1|e\u0301=1|a=b=c|數٣=1"))
        EXPECT_TRUE(isAssignment(word)) << word;
    for (const std::string& word : split("|=|=a|a|a-b=c|a.b=c|a[1]=c|./a=b|$a=b|a =b|½=1|\xFF=1"))
        EXPECT_FALSE(isAssignment(word)) << word;
}

TEST(ShellCommandFilterTests, DeployProvider) {
    // An option ("npx -y") is taken for the command, and none is known to take a value ("--token x").
    for (const auto& [provider, list] : std::initializer_list<std::pair<std::string_view, std::string>>{
             {"Vercel", "vercel|vercel --prod|A=1 sudo -E /usr/bin/vc deploy ./x|vercel --token x ls"},
             {"Vercel", "npx vercel|bunx vercel --prod|pnpx vc|npm exec vercel"},
             {"Netlify", "netlify deploy|netlify --prod deploy|/usr/bin/pnpm dlx netlify deploy"},
             {"Cloudflare Workers", "wrangler deploy|wrangler --minify publish"},
             {"Cloudflare Pages", "wrangler pages deploy ./x|wrangler pages --x publish"},
             {"Firebase", "firebase deploy"},
             {"Fly.io", "fly deploy|flyctl deploy --now"},
             {"Railway", "railway up"},
             {"Surge", "surge|surge ./dist|bun x surge"},
             {"Deploy", "npm run deploy|npm deploy|pnpm run deploy:staging|yarn --silent deploy:x"},
             {"Deploy", "bun run-script deploy"},
             {"", "|npx|npx -y vercel|yarn dlx|npx npx vercel|vercel env pull|vercel -x ls y|Vercel"},
             {"", "netlify|netlify build deploy|wrangler pages dev|wrangler tail deploy|firebase serve"},
             {"",
              "fly status|railway logs|npm run deployment|npm run run deploy|npm test deploy|make deploy"},
         })
        for (const std::string& command : split(list))
            EXPECT_EQ(deployProvider(command).value_or(""), provider) << command;
}

} // namespace quorvik::ShellCommandFilter
