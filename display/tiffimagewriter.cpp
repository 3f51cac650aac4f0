#include "display/tiffimagewriter.h"

#include "genapi/genicamexception.h"
#include "tarpo/imagepersistence.h"
#include "tarpo/pixelunpack.h"
#include "viewersdk/streambuffer.h"

#include <QFile>

#include <algorithm>

namespace {

// The source frame, when it holds more than 8 bits per sample of a kind we write deep.
const TarpoViewerSdk::StreamBuffer* deepSource(const TarpoViewerSdk::Image& image)
{
    const TarpoViewerSdk::StreamBuffer* buffer = image.buffer();
    if (!buffer || !buffer->data() || buffer->width() != image.width() ||
        buffer->height() != image.height() || image.width() <= 0 || image.height() <= 0)
        return nullptr;
    const Tarpo::EPixelType type = buffer->pixelType();
    Tarpo::SSampleFormat format;
    if (Tarpo::BitDepth(type) <= 8 || !Tarpo::GetSampleFormat(type, format))
        return nullptr;
    // A frame whose lines do not all fit its buffer is written from the display instead.
    return buffer->lineOffset() * size_t(image.height()) <= buffer->size() ? buffer : nullptr;
}

} // namespace

int TiffImageWriter::bitsPerSample(const TarpoViewerSdk::Image& image)
{
    return deepSource(image) ? 16 : 8;
}

bool TiffImageWriter::write(const QString& fileName, const TarpoViewerSdk::Image& image)
{
    if (!image.isValid())
        return false;
    const QByteArray name = QFile::encodeName(fileName);
    try {
        Tarpo::CImagePersistence persistence;
        if (const TarpoViewerSdk::StreamBuffer* buffer = deepSource(image)) {
            persistence.Save(Tarpo::ImageFileFormat_Tiff, name.constData(), buffer->data(),
                             buffer->size(), buffer->pixelType(), uint32_t(buffer->width()),
                             uint32_t(buffer->height()), size_t(std::max(buffer->paddingX(), 0)),
                             Tarpo::TopDown);
            return true;
        }
        // What the window shows: grey or B, G, R, A bytes, lines lineOffset() apart.
        const bool grey = image.format() == TarpoViewerSdk::Image::Mono8;
        const bool bgra = image.format() == TarpoViewerSdk::Image::BGRA32;
        if (!image.pixelData() || (!grey && !bgra))
            return false;
        const size_t lineBytes = size_t(image.width()) * (grey ? 1 : 4);
        persistence.Save(
            Tarpo::ImageFileFormat_Tiff, name.constData(), image.pixelData(), image.sizeInBytes(),
            grey ? Tarpo::PixelType_Mono8 : Tarpo::PixelType_BGRA8packed, uint32_t(image.width()),
            uint32_t(image.height()), size_t(image.lineOffset()) - lineBytes, Tarpo::TopDown);
        return true;
    } catch (const GenICam::GenericException& e) {
        qWarning("Cannot write the TIFF file %s: %s", name.constData(), e.GetDescription());
        return false;
    }
}
