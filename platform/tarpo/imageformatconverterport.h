#pragma once

// The register side of the image format converter's node map: holds the converter's parameters
// as registers that the node map's features read and write, and refuses values the converter
// cannot work with even when a client writes a register node directly.
// Thread: Read and Write run with the node map's lock held; settings() too.

#include "genapi/portimpl.h"
#include "tarpo/imageformatconvertersettings.h"

namespace Tarpo {

class CImageFormatConverterPort : public GenApi::CPortImpl
{
public:
    // The GenICam description of the parameters, with a "Root" category listing every feature.
    static const char* xml();

    // The caller holds the node map's lock.
    const SImageFormatConverterSettings& settings() const { return m_settings; }

    void Read(void* buffer, int64_t address, int64_t length) override;
    void Write(const void* buffer, int64_t address, int64_t length) override;

private:
    SImageFormatConverterSettings m_settings; // guarded by the node map's lock
};

} // namespace Tarpo
