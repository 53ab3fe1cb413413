#pragma once

#include <QString>

// The correction of a camera's clock as the user types it: "[+-][D:]HH:MM[:SS]". Two fields
// are hours and minutes, three days, hours and minutes, four days, hours, minutes and seconds
// ("+1:00" one hour on, "-2:00:00" two days back, "0:01:30:15").
namespace DateShift {

// The signed seconds of text; false when text is not of that form (the hours below 24, the
// minutes and seconds below 60).
bool parse(const QString &text, qint64 *seconds);

// The shortest form of seconds that parse reads back ("+1:00", "-2:00:00", "+0:00:00:30").
QString text(qint64 seconds);

// The shift in words, so the reading of the fields cannot surprise: "1 day later",
// "1 hour 30 minutes earlier", "no change".
QString describe(qint64 seconds);

} // namespace DateShift
