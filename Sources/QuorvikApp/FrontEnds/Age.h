#pragma once

#include "QuorvikCore/JSON/RecordCoding.h"

#include <string>

namespace quorvik {

/// How long ago `since` was, in the largest unit that it fills: "12 s", "3 min", "5 h", "2 d". "0 s" when it
/// is still to come: the clock may have been set back.
std::string age(Date since, Date now = std::chrono::system_clock::now());

/// The next moment after `now` at which age() gives another text.
Date nextAgeChange(Date since, Date now);

/// When a picture that shows this age should be drawn again: at whole multiples of so many seconds (`young`,
/// for an age below a minute), so that a picture full of ages wakes its program no more often than one with a
/// single age, and less than once a second.
Date nextAgeLook(Date since, Date now, double young = 2);

} // namespace quorvik
