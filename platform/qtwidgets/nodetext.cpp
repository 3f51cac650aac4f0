#include "qtwidgets/nodetext.h"

#include "genapi/genapi.h"

#include <QStringList>

#include <cmath>
#include <vector>

namespace NodeText {

namespace {

const int kRegisterBytesShown = 16;

QString withUnit(const QString& value, const QString& unit)
{
    return unit.isEmpty() ? value : value + ' ' + unit;
}

QString integerText(GenApi::IInteger* integer)
{
    const int64_t value = integer->GetValue();
    switch (integer->GetRepresentation()) {
    case GenApi::HexNumber:
        return "0x" + QString::number(qulonglong(value), 16).toUpper();
    case GenApi::IPV4Address:
        return QString("%1.%2.%3.%4")
            .arg((value >> 24) & 0xff)
            .arg((value >> 16) & 0xff)
            .arg((value >> 8) & 0xff)
            .arg(value & 0xff);
    case GenApi::MACAddress: {
        QStringList bytes;
        for (int shift = 40; shift >= 0; shift -= 8)
            bytes << QString("%1").arg((value >> shift) & 0xff, 2, 16, QChar('0')).toUpper();
        return bytes.join(':');
    }
    default:
        return withUnit(QString::number(value), QString::fromStdString(integer->GetUnit()));
    }
}

QString floatText(GenApi::IFloat* floating)
{
    const double value = floating->GetValue();
    const int precision =
        int(std::max<int64_t>(0, std::min<int64_t>(floating->GetDisplayPrecision(), 15)));
    QString number;
    switch (floating->GetDisplayNotation()) {
    case GenApi::fnFixed:
        number = QString::number(value, 'f', precision);
        break;
    case GenApi::fnScientific:
        number = QString::number(value, 'e', precision);
        break;
    default:
        number = QString::number(value, 'g', std::max(precision, 6));
    }
    return withUnit(number, QString::fromStdString(floating->GetUnit()));
}

QString registerText(GenApi::IRegister* reg)
{
    const int64_t length = reg->GetLength();
    const int64_t shown = std::min<int64_t>(length, kRegisterBytesShown);
    std::vector<uint8_t> bytes(size_t(std::max<int64_t>(length, 0)));
    if (length > 0)
        reg->Get(bytes.data(), length);
    QStringList hex;
    for (int64_t i = 0; i < shown; ++i)
        hex << QString("%1").arg(bytes[size_t(i)], 2, 16, QChar('0')).toUpper();
    QString text = QString("%1 bytes: %2").arg(length).arg(hex.join(' '));
    if (shown < length)
        text += " …";
    return text;
}

} // namespace

QString text(const char* value, bool utf8)
{
    return utf8 ? QString::fromUtf8(value) : QString::fromLatin1(value);
}

QString displayValue(GenApi::INode* node, bool utf8)
{
    if (auto* integer = dynamic_cast<GenApi::IInteger*>(node))
        return integerText(integer);
    if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(node)) {
        GenApi::IEnumEntry* entry = enumeration->GetCurrentEntry();
        if (!entry)
            return QString::number(enumeration->GetIntValue());
        auto* entryNode = dynamic_cast<GenApi::INode*>(entry);
        return entryNode ? text(entryNode->GetDisplayName().c_str(), utf8)
                         : text(entry->GetSymbolic().c_str(), utf8);
    }
    if (auto* floating = dynamic_cast<GenApi::IFloat*>(node))
        return floatText(floating);
    if (auto* boolean = dynamic_cast<GenApi::IBoolean*>(node))
        return boolean->GetValue() ? "True" : "False";
    if (auto* string = dynamic_cast<GenApi::IString*>(node))
        return text(string->GetValue().c_str(), utf8);
    if (auto* reg = dynamic_cast<GenApi::IRegister*>(node))
        return registerText(reg);
    return QString();
}

QString fileValue(GenApi::INode* node, bool utf8)
{
    if (auto* integer = dynamic_cast<GenApi::IInteger*>(node))
        return QString::number(integer->GetValue());
    if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(node)) {
        GenApi::IEnumEntry* entry = enumeration->GetCurrentEntry();
        return entry ? text(entry->GetSymbolic().c_str(), utf8) : QString();
    }
    if (auto* floating = dynamic_cast<GenApi::IFloat*>(node))
        return QString::number(floating->GetValue(), 'g', 17);
    if (auto* boolean = dynamic_cast<GenApi::IBoolean*>(node))
        return boolean->GetValue() ? "1" : "0";
    if (auto* string = dynamic_cast<GenApi::IString*>(node))
        return text(string->GetValue().c_str(), utf8)
            .replace('\\', "\\\\")
            .replace('\t', "\\t")
            .replace('\n', "\\n")
            .replace('\r', "\\r");
    return displayValue(node, utf8);
}

} // namespace NodeText
