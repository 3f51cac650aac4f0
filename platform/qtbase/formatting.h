#pragma once

// Number formatting for status bars and log texts.
// Thread-safe: pure functions.

#include <QString>

#include <cstdint>

// "12.3 MB/s", "29.97 fps", "850 B/s": the value with an SI prefix (k, M, G, T; m, µ below 1)
// before the unit, three significant digits at least; "--" for a negative (unknown) value.
QString formatDoubleValueAndUnits(double value, const QString& unit);

// "1,234,567" with the locale's digit grouping.
QString formatImageCount(uint64_t count);
// "1,234 images, 5 failed"; the failed part only when there were failures.
QString formatImageCount(uint64_t count, uint64_t failedCount);
