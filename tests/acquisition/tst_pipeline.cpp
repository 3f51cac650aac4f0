#include "emulatorrig.h"

#include "acquisition/converter.h"
#include "acquisition/decoupler.h"

#include <QtTest>

#include <atomic>
#include <mutex>

using TarpoViewerSdk::Image;
using TarpoViewerSdk::StreamBuffer;

namespace {

// The colour bars of the emulator's test image, left to right.
struct Bar
{
    const char* name;
    int r, g, b;
};
const Bar kBars[8] = {{"white", 255, 255, 255}, {"yellow", 255, 255, 0}, {"cyan", 0, 255, 255},
                      {"green", 0, 255, 0},     {"magenta", 255, 0, 255}, {"red", 255, 0, 0},
                      {"blue", 0, 0, 255},      {"black", 0, 0, 0}};

int luma(const Bar& bar)
{
    return int(0.299 * bar.r + 0.587 * bar.g + 0.114 * bar.b + 0.5);
}

// Collects the converter's images on the decoupler's thread.
struct ImageSink
{
    std::mutex mutex; // guards images
    std::vector<Image> images;
    void attach(Converter& converter)
    {
        QObject::connect(&converter, &Converter::imageAvailable, &converter,
                         [this](const Image& image) {
                             std::lock_guard<std::mutex> lock(mutex);
                             if (images.size() < 4)
                                 images.push_back(image); // a copy shares the pixels
                         },
                         Qt::DirectConnection); // decoupler thread -> sink, direct
    }
    size_t count()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return images.size();
    }
};

} // namespace

// The acquisition path as the viewer wires it: emulated camera, grab thread, decoupler,
// converter. Every pixel format the camera offers must arrive as the right picture.
class tst_Pipeline : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TARPO_CAMEMU", "2"); }

    void everyPixelFormatShowsTheColourBars_data()
    {
        QTest::addColumn<QString>("pixelFormat");
        EmulatorRig rig;
        QVERIFY(rig.open(0));
        GenApi::StringList_t formats;
        GenApi::CEnumerationPtr(rig.map()->GetNode("PixelFormat"))->GetSymbolics(formats);
        QVERIFY(formats.size() >= 20);
        for (const auto& format : formats)
            QTest::newRow(format.c_str()) << QString::fromStdString(format);
    }

    void everyPixelFormatShowsTheColourBars()
    {
        QFETCH(QString, pixelFormat);
        EmulatorRig rig;
        QVERIFY(rig.open(0));
        rig.set("DebugSensorWidth", "256");
        rig.set("DebugSensorHeight", "32");
        rig.set("OffsetX", "0");
        rig.set("OffsetY", "0");
        rig.set("Width", "256");
        rig.set("Height", "32");
        rig.set("PixelFormat", pixelFormat.toLatin1());
        rig.set("TestImageSelector", "ColorBars");
        rig.set("AcquisitionFrameRateEnable", "1");
        rig.set("AcquisitionFrameRate", "200");

        Decoupler decoupler(nullptr, "Decoupler_TEST");
        Converter converter;
        QVERIFY(converter.isSupported(rig.camera->pixelTypeFor(pixelFormat.toStdString(), 0)));
        // grab thread -> decoupler -> converter, direct: as the device context wires them
        QObject::connect(rig.camera.get(), &Camera::bufferAvailable, &decoupler,
                         &Decoupler::setBuffer, Qt::DirectConnection);
        QObject::connect(&decoupler, &Decoupler::bufferAvailable, &converter,
                         &Converter::setBuffer, Qt::DirectConnection);
        ImageSink sink;
        sink.attach(converter);
        rig.camera->startContinuousShot();
        QTRY_VERIFY_WITH_TIMEOUT(sink.count() >= 1, 20000);
        rig.camera->stopGrab();
        decoupler.shutDown();

        std::lock_guard<std::mutex> lock(sink.mutex);
        const Image image = sink.images.front();
        QCOMPARE(image.width(), 256);
        QCOMPARE(image.height(), 32);
        const Tarpo::EPixelType type = Tarpo::GetPixelTypeFromName(pixelFormat.toStdString());
        const bool mono = Tarpo::IsMono(type);
        QCOMPARE(image.format(), mono ? int(Image::Mono8) : int(Image::BGRA32));
        // YUV shares chroma between pixel pairs and Bayer interpolates: a little tolerance.
        const int tolerance = Tarpo::IsYUV(type) ? 6 : 3;
        for (int i = 0; i < 8; ++i) {
            const int x = i * 32 + 16;
            const int y = 16;
            const uint8_t* p = image.pixelData() + y * image.lineOffset();
            if (mono) {
                QVERIFY2(std::abs(p[x] - luma(kBars[i])) <= tolerance,
                         qPrintable(QString("%1 bar: %2 instead of %3")
                                        .arg(kBars[i].name).arg(p[x]).arg(luma(kBars[i]))));
            } else {
                const uint8_t* px = p + 4 * x;
                QVERIFY2(std::abs(px[2] - kBars[i].r) <= tolerance &&
                             std::abs(px[1] - kBars[i].g) <= tolerance &&
                             std::abs(px[0] - kBars[i].b) <= tolerance,
                         qPrintable(QString("%1 bar: R%2 G%3 B%4")
                                        .arg(kBars[i].name).arg(px[2]).arg(px[1]).arg(px[0])));
            }
        }
        sink.images.clear();
    }

    void smallFramesArriveWithoutGaps()
    {
        EmulatorRig rig;
        QVERIFY(rig.open(1));
        rig.monoStream("64", "64", "2000");
        std::mutex mutex; // guards frames
        std::vector<uint64_t> frames;
        QObject::connect(rig.camera.get(), &Camera::bufferAvailable, rig.camera.get(),
                         [&](StreamBuffer* buffer) {
                             std::lock_guard<std::mutex> lock(mutex);
                             frames.push_back(buffer->frameNumber());
                         },
                         Qt::DirectConnection); // grab thread -> recorder, direct
        rig.camera->startContinuousShot();
        QTRY_VERIFY_WITH_TIMEOUT(rig.camera->totalCounter() >= 1000, 30000);
        rig.camera->stopGrab();
        QCOMPARE(rig.camera->erroneousTotal(), 0u);
        std::lock_guard<std::mutex> lock(mutex);
        QVERIFY(frames.size() >= 1000);
        for (size_t i = 1; i < frames.size(); ++i)
            QCOMPARE(frames[i], frames[i - 1] + 1);
    }
};

QTEST_GUILESS_MAIN(tst_Pipeline)
#include "tst_pipeline.moc"
