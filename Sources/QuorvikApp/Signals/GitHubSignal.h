#pragma once

#include "QuorvikApp/Model/GitHubFeed.h"
#include "QuorvikApp/Signals/LiveRepositories.h"
#include "QuorvikApp/Signals/Signal.h"

namespace quorvik {

/// Shows what happens on GitHub to the user's pull requests and issues, and the deployments of the
/// repositories in which sessions live. It asks through `gh` as the user has logged in there, once a minute
/// or less often when GitHub says so, and only when the user has switched it on.
class GitHubSignal : public Signal {
  public:
    explicit GitHubSignal(const SignalContext& context) : Signal(context, "github") {}

    void update() override;

  private:
    void look() override;
    GitHubFeed::Repositories repositories();
    void askOn();

    GitHubFeed feed_;
    LiveRepositories roots_;
};

} // namespace quorvik
