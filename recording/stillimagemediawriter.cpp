#include "recording/stillimagemediawriter.h"

#include <boost/format.hpp>

CStillImageMediaWriter::CStillImageMediaWriter(Tarpo::EImageFileFormat format,
                                               const char* extension)
    : m_format(format), m_extension(extension)
{
}

void CStillImageMediaWriter::Open(const GenICam::gcstring& basePath)
{
    m_basePath = basePath;
    m_open = true;
}

void CStillImageMediaWriter::Close()
{
    m_open = false;
}

std::string CStillImageMediaWriter::fileNameOf(uint32_t frameNumber) const
{
    return (boost::format("%s_%04d%s") % m_basePath % frameNumber % m_extension).str();
}

void CStillImageMediaWriter::Add(const Tarpo::IImage& image)
{
    Add(image.GetBuffer(), image.GetImageSize(), image.GetPixelType(), image.GetWidth(),
        image.GetHeight(), image.GetPaddingX(), image.GetOrientation());
}

void CStillImageMediaWriter::Add(const void* buffer, size_t bufferSize, Tarpo::EPixelType pixelType,
                                 uint32_t width, uint32_t height, size_t paddingX,
                                 Tarpo::EImageOrientation orientation)
{
    // The number is taken before the save, so a frame that fails still uses up its number.
    const uint32_t frameNumber = ++m_frameCounter;
    m_persistence.Save(m_format, fileNameOf(frameNumber), buffer, bufferSize, pixelType, width,
                       height, paddingX, orientation);
}
