#include "recording/avimediawriteradapter.h"

#include "genapi/genicamexception.h"
#include "recording/fatalmediawriterexception.h"
#include "recording/mediafilelimitreachedexception.h"
#include "tarpo/aviwriterfatalexception.h"
#include "trace/trace.h"

namespace {

// The character between "doesn" and "t" is U+FFFD, the replacement character, as the message
// has always read.
const char* const kCodecRefusesFormat = "Failed to start recording, because the codec "
                                        "doesn\uFFFDt support the pixel format or image size.";
const char* const kLimitReached = "2GB limit of AVI file reached.";

} // namespace

CAviMediaWriterAdapter::CAviMediaWriterAdapter(
    double framesPerSecondPlayback, Tarpo::EPixelType inputPixelType, uint32_t width,
    uint32_t height, Tarpo::EImageOrientation orientation,
    const Tarpo::SAviCompressionOptions* compressionOptions, int64_t imageDataLimitBytes)
    : m_aviWriter(std::make_unique<Tarpo::CAviWriter>()),
      m_framesPerSecondPlayback(framesPerSecondPlayback), m_inputPixelType(inputPixelType),
      m_width(width), m_height(height), m_orientation(orientation),
      m_compressionOptions(compressionOptions), m_imageDataLimitBytes(imageDataLimitBytes)
{
}

CAviMediaWriterAdapter::~CAviMediaWriterAdapter()
{
    if (m_aviWriter->IsOpen()) {
        try {
            m_aviWriter->Close();
        } catch (const std::exception& e) {
            TARPO_TRACE("Recording", "~CAviMediaWriterAdapter: %s", e.what());
        }
    }
}

bool CAviMediaWriterAdapter::compressed() const
{
    return m_compressionOptions && !Tarpo::IsUncompressed(*m_compressionOptions);
}

Tarpo::EPixelType CAviMediaWriterAdapter::chooseOutputPixelType(
    Tarpo::EPixelType inputPixelType, bool compressed,
    const std::function<bool(Tarpo::EPixelType candidate)>& codecAccepts)
{
    const bool mono8 = inputPixelType == Tarpo::PixelType_Mono8;
    if (!compressed)
        return mono8 ? Tarpo::PixelType_Mono8 : Tarpo::PixelType_BGR8packed;
    const Tarpo::EPixelType monoFirst[] = {Tarpo::PixelType_Mono8, Tarpo::PixelType_BGR8packed,
                                           Tarpo::PixelType_BGRA8packed};
    const Tarpo::EPixelType colourFirst[] = {Tarpo::PixelType_BGR8packed, Tarpo::PixelType_Mono8,
                                             Tarpo::PixelType_BGRA8packed};
    for (Tarpo::EPixelType candidate : mono8 ? monoFirst : colourFirst) {
        if (codecAccepts(candidate))
            return candidate;
    }
    throw RUNTIME_EXCEPTION("%s", kCodecRefusesFormat);
}

void CAviMediaWriterAdapter::Open(const GenICam::gcstring& basePath)
{
    const GenICam::gcstring fileName = basePath + ".avi";
    m_outputPixelType =
        chooseOutputPixelType(m_inputPixelType, compressed(), [this](Tarpo::EPixelType candidate) {
            return Tarpo::CAviWriter::IsOutputFormatSupported(*m_compressionOptions, candidate,
                                                              m_width, m_height);
        });
    m_aviWriter->Open(fileName, m_framesPerSecondPlayback, m_outputPixelType, m_width, m_height,
                      m_orientation, compressed() ? m_compressionOptions : nullptr);
}

bool CAviMediaWriterAdapter::IsOpen() const
{
    return m_aviWriter->IsOpen();
}

void CAviMediaWriterAdapter::Close()
{
    m_aviWriter->Close();
}

void CAviMediaWriterAdapter::checkLimit()
{
    // After the write: the frame that crosses the limit is in the file.
    if (m_aviWriter->GetImageDataBytesWritten() > m_imageDataLimitBytes)
        throw MediaFileLimitReachedException(kLimitReached, __FILE__, __LINE__);
}

void CAviMediaWriterAdapter::Add(const Tarpo::IImage& image)
{
    try {
        m_aviWriter->Add(image, Tarpo::KeyFrameSelection_Auto);
    } catch (const Tarpo::AviWriterFatalException& e) {
        throw FatalMediaWriterException(e.GetDescription(), __FILE__, __LINE__);
    }
    checkLimit();
}

void CAviMediaWriterAdapter::Add(const void* buffer, size_t bufferSize, Tarpo::EPixelType pixelType,
                                 uint32_t width, uint32_t height, size_t paddingX,
                                 Tarpo::EImageOrientation orientation)
{
    try {
        m_aviWriter->Add(buffer, bufferSize, pixelType, width, height, paddingX, orientation,
                         Tarpo::KeyFrameSelection_Auto);
    } catch (const Tarpo::AviWriterFatalException& e) {
        throw FatalMediaWriterException(e.GetDescription(), __FILE__, __LINE__);
    }
    checkLimit();
}

bool CAviMediaWriterAdapter::CanAddWithoutConversion(const Tarpo::IImage& image) const
{
    return CanAddWithoutConversion(image.GetPixelType(), image.GetWidth(), image.GetHeight(),
                                   image.GetPaddingX(), image.GetOrientation());
}

bool CAviMediaWriterAdapter::CanAddWithoutConversion(Tarpo::EPixelType pixelType, uint32_t width,
                                                     uint32_t height, size_t paddingX,
                                                     Tarpo::EImageOrientation orientation) const
{
    return m_aviWriter->CanAddWithoutConversion(pixelType, width, height, paddingX, orientation);
}

size_t CAviMediaWriterAdapter::GetCountOfAddedImages() const
{
    return m_aviWriter->GetCountOfAddedImages();
}

int64_t CAviMediaWriterAdapter::GetImageDataBytesWritten() const
{
    return m_aviWriter->GetImageDataBytesWritten();
}
