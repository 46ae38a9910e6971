#pragma once

#include "QuorvikApp/Model/ItemChanges.h"
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

    /// What the item with that key stands for; null when it stands for no changes. It is known for a while
    /// longer than the item is shown, for whoever is still reading.
    const ItemChanges* changes(std::string_view key) const;

    /// Asks git for the difference of one of the files. `done` is called once, and never before this returns.
    void diff(const GitChanges::Range& range, const FileChange& file, DiffDone done);

  private:
    class Watched;
    friend class Watched;

    void look() override;
    void watchRepositories();
    void forgetWhatIsOver();
    void tell(SessionRecord record);
    void tell(ItemChanges changes);
    void tellModel();
    void tellTrouble(std::string trouble);

    LiveRepositories roots_;
    std::map<std::string, std::unique_ptr<Watched>> watched_;             ///< by root
    std::map<std::string, std::shared_ptr<const SessionRecord>> records_; ///< by session id
    struct KnownChanges {
        Date since{};
        ItemChanges changes;
    };
    std::map<std::string, KnownChanges, std::less<>> changes_; ///< by the item's key
    std::map<std::uint64_t, std::unique_ptr<ChildProcess>> diffs_;
    std::uint64_t diffCount_ = 0; ///< ever asked for
    std::string trouble_;
};

} // namespace quorvik
