#pragma once

#include "QuorvikCore/Session/SessionRecord.h"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace quorvik {

/// A local service as one look found it.
struct ServiceState {
    std::string id;      ///< the same at every look, and among all services ("port-3000")
    std::string label;   ///< the name shown (":3000")
    std::string summary; ///< what it is, or what is wrong with it: a line
    std::string cwd;     ///< where it works; empty when unknown
    bool isUp = false;
    std::optional<std::int32_t> pid;
    std::optional<std::string> container, composeProject;
    std::optional<std::int64_t> port; ///< a service with a port that went down is shown for a short time only
    std::optional<std::string> webURL;
};

/// The services of one signal, look after look, as items of the island. Up is `working`. Only a service that
/// was seen up can fail: it is `failed` from the look that finds it down or gone. One that comes and goes
/// stays one item, which counts.
class ServiceBoard {
  public:
    /// `forgetAfter`: seconds for which a service that is gone, and is in no listing any more, is remembered
    /// as failed.
    void look(const std::vector<ServiceState>& listed, double forgetAfter, Date now);

    /// The items; an item that has not changed is the same object as before.
    std::vector<std::shared_ptr<const SessionRecord>> records() const;

    bool empty() const { return known_.empty(); }

    /// Forgets the services whose ids the function refuses: nobody watches them any more.
    void keepOnly(const std::function<bool(const std::string&)>& isWanted);

  private:
    struct Known {
        ServiceState state;
        std::shared_ptr<const SessionRecord> record; ///< null: never seen up
        int failures = 0;                            ///< since it was first seen
    };

    void note(Known& known, ServiceState state, Date now);

    std::map<std::string, Known> known_;
};

} // namespace quorvik
