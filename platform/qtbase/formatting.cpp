#include "qtbase/formatting.h"

#include <QLocale>

#include <cmath>
#include <iterator>

QString formatDoubleValueAndUnits(double value, const QString& unit)
{
    if (std::isnan(value) || value < 0.0)
        return QStringLiteral("--");
    static const struct
    {
        double factor;
        const char* prefix;
    } prefixes[] = {{1e12, "T"}, {1e9, "G"}, {1e6, "M"}, {1e3, "k"}, {1.0, ""}, {1e-3, "m"},
                    {1e-6, "\u00b5"}};
    const auto* chosen = &prefixes[std::size(prefixes) - 1];
    for (const auto& p : prefixes) {
        // 999.96 rounds to 1000 at three digits: show it as 1.00 k instead.
        if (value >= p.factor * 0.9995) {
            chosen = &p;
            break;
        }
    }
    const double scaled = value == 0.0 ? 0.0 : value / chosen->factor;
    const QString prefix = value == 0.0 ? QString() : QString::fromUtf8(chosen->prefix);
    // Three significant digits: 1.23, 12.3, 123.
    const int decimals = scaled >= 99.95 ? 0 : scaled >= 9.995 ? 1 : 2;
    return QString::number(scaled, 'f', decimals) + " " + prefix + unit;
}

QString formatImageCount(uint64_t count)
{
    QLocale locale;
    locale.setNumberOptions(locale.numberOptions() & ~QLocale::OmitGroupSeparator);
    return locale.toString(static_cast<qulonglong>(count));
}

QString formatImageCount(uint64_t count, uint64_t failedCount)
{
    QString text = formatImageCount(count) + (count == 1 ? " image" : " images");
    if (failedCount > 0)
        text += ", " + formatImageCount(failedCount) + " failed";
    return text;
}
