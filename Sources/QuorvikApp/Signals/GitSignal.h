#pragma once

#include "QuorvikApp/Signals/LiveRepositories.h"
#include "QuorvikApp/Signals/Signal.h"

#include <map>
#include <memory>

namespace quorvik {

/// Tells the model what happens in the repositories in which sessions live. Their files are read shortly
/// after the last of a burst of changes; git itself is run for what stands in objects only: a commit's
/// subject, the lines that it changed. It reads and never writes.
class GitSignal : public Signal {
  public:
    explicit GitSignal(const SignalContext& context);
    ~GitSignal() override;

    void update() override;

  private:
    class Watched;
    friend class Watched;

    void look() override;
    void watchRepositories();
    void forgetWhatIsOver();
    void tell(SessionRecord record);
    void tellModel();
    void tellTrouble(std::string trouble);

    LiveRepositories roots_;
    std::map<std::string, std::unique_ptr<Watched>> watched_;             ///< by root
    std::map<std::string, std::shared_ptr<const SessionRecord>> records_; ///< by session id
    std::string trouble_;
};

} // namespace quorvik
