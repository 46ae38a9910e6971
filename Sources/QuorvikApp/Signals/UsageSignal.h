#pragma once

#include "QuorvikApp/Model/UsageRecords.h"
#include "QuorvikApp/Signals/Signal.h"

#include "QuorvikCore/Usage/UsageSources.h"

namespace quorvik {

/// Tells when much of an agent's limits is used. Reads what agents leave on this machine, when that changes
/// and every 5 minutes. Asks an account's service only for a host that the user has named, with `accounts`
/// on: every 5 minutes too, less often when it fails or wants to be left alone.
class UsageSignal : public Signal {
  public:
    explicit UsageSignal(const SignalContext& context) : Signal(context, "usage") {}

    void update() override;

  private:
    /// A service that may be asked.
    struct Account {
        Source agent;
        Words words; ///< after the program's name; empty: it is not to be asked
        Date next{};
        int failures = 0; ///< in a row
        std::string failure;
    };

    void look() override;
    void setAccounts();
    void askAccounts();
    void answered(Account& account, const ChildProcess::Result& result);
    void readFiles();
    void found(const std::vector<UsageFigure>& figures);
    void watchFolders(const std::vector<std::filesystem::path>& folders);

    std::shared_ptr<UsageSources> sources_ = std::make_shared<UsageSources>();
    UsageRecords records_;
    std::map<std::string, std::unique_ptr<FolderWatch>> watches_; ///< by folder
    std::vector<Account> accounts_ = {{Source::claude, {}}, {Source::grok, {}}};
    std::unique_ptr<ChildProcess> asking_;
};

} // namespace quorvik
