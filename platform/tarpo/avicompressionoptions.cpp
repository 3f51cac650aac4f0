#include "tarpo/avicompressionoptions.h"

namespace Tarpo {

std::string FourCCToString(uint32_t fourCC)
{
    std::string text(4, ' ');
    for (int i = 0; i < 4; ++i) {
        const char c = char((fourCC >> (8 * i)) & 0xFF);
        text[size_t(i)] = (c >= 0x20 && c < 0x7F) ? c : '?';
    }
    return text;
}

uint32_t FourCCFromString(const std::string& text)
{
    char c[4] = {' ', ' ', ' ', ' '};
    for (size_t i = 0; i < 4 && i < text.size(); ++i)
        c[i] = text[i];
    return MakeFourCC(c[0], c[1], c[2], c[3]);
}

} // namespace Tarpo
