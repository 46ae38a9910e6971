#include "QuorvikApp/Model/SignalStatus.h"

namespace quorvik {

nlohmann::json SignalStatus::toJSON() const {
    nlohmann::json object = {
        {"name", name}, {"on", isOn}, {"why", why}, {"looks", looks}, {"seconds", seconds}};
    if (lastLook) object["lastLook"] = secondsSince1970(*lastLook);
    if (nextLook) object["nextLook"] = secondsSince1970(*nextLook);
    return object;
}

SignalStatus SignalStatus::fromJSON(const nlohmann::json& value) {
    const RecordReader reader(value);
    SignalStatus status;
    reader.required("name", status.name);
    reader.required("on", status.isOn);
    reader.required("why", status.why);
    reader.required("looks", status.looks);
    reader.required("seconds", status.seconds);
    reader.optional("lastLook", status.lastLook);
    reader.optional("nextLook", status.nextLook);
    return status;
}

} // namespace quorvik
