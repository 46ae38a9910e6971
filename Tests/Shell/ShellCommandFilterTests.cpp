#include "QuorvikCore/Shell/ShellCommandFilter.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace quorvik {

namespace {

using namespace ShellCommandFilter;

/// Each of the forms (between bars), with each of the names in place of "%".
void expectEach(std::string_view names, std::string_view forms, bool failed, bool tracked) {
    for (const std::string_view name : words(names)) {
        std::istringstream stream{std::string(forms)};
        for (std::string command; std::getline(stream, command, '|');) {
            for (auto at = command.find('%'); at != command.npos; at = command.find('%'))
                command.replace(at, 1, name);
            EXPECT_EQ(isTracked(command, failed), tracked) << command;
        }
    }
}

} // namespace

TEST(ShellCommandFilterTests, EveryWordOfEverySet) {
    struct Case {
        std::string_view names, untracked, tracked;
    };
    for (const auto& [names, untracked, tracked] : std::initializer_list<Case>{
             {"sudo env time nohup command exec nice caffeinate noglob builtin",
              "%|% -x|% vim|/usr/bin/% -n % --x A=1 vim f", "% make|% -E make test|% -u admin vim"},
             {"vim vi nvim nano emacs micro helix hx less more man most ssh mosh telnet top htop btop watch "
              "tail tmux screen zellij fzf lazygit tig lazydocker k9s zsh bash fish sh login su quorvik "
              "claude "
              "codex grok cmd devin qwen copilot pi kimi zcode open code cursor xed say",
              "%|% file|/opt/x/% -x file|A=1 %", "x%|%.sh|cat %|./%x/make"},
             {"python python3 node irb ipython bun deno ruby lua sqlite3 psql mysql redis-cli mongosh swift "
              "ghci R julia php scala clj",
              "%|% -i --flag|/usr/bin/%", "% script.x|% -u script.x|x%"},
             {"vite nodemon uvicorn gunicorn air webpack-dev-server ollama jupyter caddy nginx",
              "%|% build|sudo /usr/sbin/% -t", "%d|npx %"},
             {"next nuxt astro remix gatsby hugo jekyll mkdocs flask rails ng",
              "%|% --port 1 dev|% --help|% dev|% serve|% server|% s|% run|% start|% watch|% develop|% "
              "preview|"
              "% build dev",
              "% build|% --prod build|% devx|% Dev"},
             {"npm pnpm yarn bun deno task make just",
              "% dev|% serve|% start|% watch|% preview|% storybook|% develop|% server|% run dev|% run-script "
              "start|"
              "% task dev|% run task -x run-script serve --y",
              "% test|% test dev|% run test|% --x install|% run dev:x"},
             {"wrangler vercel vc netlify", "% dev|% --x dev|A=1 % dev y", "%|% deploy|% x dev"},
             {"commit rebase log diff show blame add push pull checkout switch stash merge",
              "git %|git -C repo %|git --no-pager -c a=b %|sudo /usr/bin/git --git-dir x --work-tree y "
              "--namespace z %",
              "git x%|git --git-dir % fetch|git x %"},
         }) {
        expectEach(names, untracked, false, false);
        expectEach(names, tracked, false, true);
    }
    // A failed git command, by other rules.
    expectEach("push pull fetch clone merge rebase commit checkout switch stash cherry-pick revert am",
               "git %|A=1 sudo -x env /usr/bin/git -C y --no-pager % z", true, true);
    expectEach("log diff show blame add status x tag", "git %|git -C push %|git % push|nice git --bare %",
               true, false);
    expectEach("-C -c --git-dir --work-tree --namespace", "git %|git % push", true, false);
}

TEST(ShellCommandFilterTests, IsTracked) {
    struct Case {
        std::string command;
        bool tracked;
        bool trackedAsFailure;
    };
    for (const auto& [command, tracked, failure] : std::initializer_list<Case>{
             {"", false, false},
             {" \t\n\u3000", false, false},
             {"A=1 B=2", false, false},
             {"sudo -E", false, false},
             {"=1 make", true, true}, // no assignment
             {"FOO=1 sudo -E nice make test", true, true},
             {"sudo -u admin vim", true, true}, // the command is taken to be "admin"
             {"make\u00A0dev", false, false},
             {"make\ndev", false, false},
             {"MAKE dev", true, true},
             {"vim/", false, false},
             {"/", true, true},
             {"-", true, true},
             {"\xFF\xFE make", true, true},
             {"docker logs -f x", false, false},
             {"docker compose logs", false, false},
             {"docker compose up", false, false},
             {"docker compose -f x up web", false, false},
             {"docker compose up -d", true, true},
             {"docker --detach compose up", true, true},
             {"docker compose up -d logs", false, false},
             {"docker build .", true, true},
             {"cargo watch", false, false},
             {"cargo -q watch -x test", false, false},
             {"cargo test watch", true, true},
             {"wrangler pages dev", false, false},
             {"wrangler pages deploy dev", true, true},
             {"vercel pages dev", true, true},
             {"git", true, false},
             {"git --version", true, false},
             {"git status", true, false},
             {"git clone x", true, true},
             {"git push", false, true},
             {"git cherry-pick x", true, true},
             // Of what stands before "git", only what cannot be a command is passed over.
             {"cd x && git push", true, true},
             {"vim git push", false, false},
             {"sudo -u admin git status", true, true},
             {"echo git", true, true},
             {"gitk push", true, true},
             {"git git", true, false},
         }) {
        EXPECT_EQ(isTracked(command), tracked) << command;
        EXPECT_EQ(isTracked(command, false), tracked) << command;
        EXPECT_EQ(isTracked(command, true), failure) << command;
    }
}

TEST(ShellCommandFilterTests, IsAssignment) {
    for (const std::string_view word :
         {"A=", "a=b", "FOO_1=bar", "1=x", "_=_", "é=1", "e\u0301=1", "a=b=c", "數٣=1"})
        EXPECT_TRUE(isAssignment(word)) << word;
    for (const std::string_view word :
         {"", "=", "=a", "a", "a-b=c", "a.b=c", "a[1]=c", "./a=b", "$a=b", "a =b", "½=1", "\xFF=1"})
        EXPECT_FALSE(isAssignment(word)) << word;
}

TEST(ShellCommandFilterTests, DeployProvider) {
    struct Case {
        std::string_view command;
        std::string_view provider; ///< empty: none
    };
    for (const auto& [command, provider] : std::initializer_list<Case>{
             {"", ""},
             {"npx", ""},
             {"vercel", "Vercel"},
             {"vercel --prod", "Vercel"},
             {"A=1 sudo -E /usr/bin/vc deploy ./x", "Vercel"},
             {"npx vercel", "Vercel"},
             {"bunx vercel --prod", "Vercel"},
             {"pnpx vc", "Vercel"},
             {"npx -y vercel", ""}, // the command is taken to be "-y"
             {"npm exec vercel", "Vercel"},
             {"/usr/bin/pnpm dlx netlify deploy", "Netlify"},
             {"bun x surge", "Surge"},
             {"yarn dlx", ""},
             {"npx npx vercel", ""},
             {"vercel env pull", ""},
             {"vercel --token x ls", "Vercel"}, // no option is known to take a value
             {"netlify deploy", "Netlify"},
             {"netlify --prod deploy", "Netlify"},
             {"netlify build deploy", ""},
             {"netlify", ""},
             {"wrangler deploy", "Cloudflare Workers"},
             {"wrangler --minify publish", "Cloudflare Workers"},
             {"wrangler pages deploy ./x", "Cloudflare Pages"},
             {"wrangler pages --x publish", "Cloudflare Pages"},
             {"wrangler pages dev", ""},
             {"wrangler tail deploy", ""},
             {"firebase deploy", "Firebase"},
             {"firebase serve", ""},
             {"fly deploy", "Fly.io"},
             {"flyctl deploy --now", "Fly.io"},
             {"fly status", ""},
             {"railway up", "Railway"},
             {"railway logs", ""},
             {"surge", "Surge"},
             {"surge ./dist", "Surge"},
             {"npm run deploy", "Deploy"},
             {"npm deploy", "Deploy"},
             {"pnpm run deploy:staging", "Deploy"},
             {"yarn --silent deploy:x", "Deploy"},
             {"bun run-script deploy", "Deploy"},
             {"npm run deployment", ""},
             {"npm run run deploy", ""}, // a script named "run"
             {"npm test deploy", ""},
             {"make deploy", ""},
             {"Vercel", ""},
         })
        EXPECT_EQ(deployProvider(command).value_or(""), provider) << command;
    for (const std::string_view word :
         words("dev build login logout whoami env logs ls list inspect pull link unlink domains dns certs "
               "alias rm "
               "remove teams switch projects secrets init git help bisect telemetry upgrade"))
        EXPECT_FALSE(deployProvider("vercel -x " + std::string(word) + " y")) << word;
}

} // namespace quorvik
