#include "viewersdk/image.h"
#include "viewersdk/pluginmanager.h"
#include "viewersdk/streambuffer.h"

#include <QPointer>
#include <QtTest>

#include <thread>

using namespace TarpoViewerSdk;

// Buffer lending by lock counting (home-coming, orphaned buffers), images that share pixels and
// keep their buffer, geometry of packed frames, and plug-ins loaded from a real module.
class tst_ViewerSdk : public QObject
{
    Q_OBJECT

private slots:
    void lastUnlockSendsTheBufferHome()
    {
        StreamBuffer buffer(64, Tarpo::PixelType_Mono8, 8, 8, 3);
        QSignalSpy home(&buffer, &StreamBuffer::backToHome);
        buffer.lock();
        buffer.lock();
        std::thread other([&] { buffer.unlock(); });
        other.join();
        QCOMPARE(home.count(), 0);
        buffer.unlock();
        QCOMPARE(home.count(), 1);
        QCOMPARE(home.at(0).at(0).value<StreamBuffer*>(), &buffer);
        QCOMPARE(buffer.lockCount(), 0);
        QCOMPARE(buffer.grabRun(), 3u);
    }

    void orphanedBufferDeletesItself()
    {
        QPointer<StreamBuffer> held = new StreamBuffer(64, Tarpo::PixelType_Mono8, 8, 8, 1);
        held->lock();
        held->orphan(); // its camera went away
        QVERIFY(held);
        held->unlock();
        QVERIFY(!held);
        QPointer<StreamBuffer> idle = new StreamBuffer(64, Tarpo::PixelType_Mono8, 8, 8, 1);
        idle->orphan();
        QVERIFY(!idle);
    }

    void imagesShareAndHoldTheBuffer()
    {
        StreamBuffer buffer(13 * 7, Tarpo::PixelType_Mono8, 13, 7, 1);
        QSignalSpy home(&buffer, &StreamBuffer::backToHome);
        {
            Image image = Image::ImageFromBuffer(Image::Mono8, &buffer);
            QCOMPARE(image.width(), 13);
            QCOMPARE(image.lineOffset(), 16); // lines are 4-byte aligned for QImage
            QCOMPARE(buffer.lockCount(), 1);
            Image copy = image;
            QCOMPARE(copy.pixelData(), image.pixelData());
            QCOMPARE(buffer.lockCount(), 1);
            const QImage view = copy.qimage();
            QCOMPARE(view.constBits(), image.pixelData());
            QCOMPARE(view.format(), QImage::Format_Grayscale8);
            Image deep = image.deepCopy();
            QVERIFY(deep.pixelData() != image.pixelData());
            QVERIFY(!deep.buffer());
        }
        QCOMPARE(home.count(), 1);
        Image bgra(5, 3, Image::BGRA32);
        QCOMPARE(bgra.lineOffset(), 20);
        QCOMPARE(bgra.qimage().format(), QImage::Format_RGB32);
        Image carrier(5, 3, Image::NoPixels, nullptr);
        QVERIFY(!carrier.pixelData());
        QVERIFY(!Image().isValid());
    }

    void frameGeometry_data()
    {
        QTest::addColumn<uint>("pixelType");
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("paddingX");
        QTest::addColumn<int>("lineOffset");
        QTest::newRow("mono8") << uint(Tarpo::PixelType_Mono8) << 13 << 0 << 13;
        QTest::newRow("mono12p-odd-width") << uint(Tarpo::PixelType_Mono12p) << 13 << 0 << 20;
        QTest::newRow("mono12packed-padding") << uint(Tarpo::PixelType_Mono12packed) << 10 << 2 << 17;
        QTest::newRow("bgra") << uint(Tarpo::PixelType_BGRA8packed) << 3 << 4 << 16;
    }

    void frameGeometry()
    {
        QFETCH(uint, pixelType);
        QFETCH(int, width);
        QFETCH(int, paddingX);
        QFETCH(int, lineOffset);
        StreamBuffer buffer(4096, Tarpo::PixelType_Mono8, 1, 1, 1);
        buffer.setFrame(Tarpo::EPixelType(pixelType), width, 5, paddingX, 100, 42, 7);
        QCOMPARE(int(buffer.lineOffset()), lineOffset);
        const auto format = StreamBuffer::SImageFormatExFromBuffer(&buffer);
        QCOMPARE(int(format.lineOffset), lineOffset);
        QCOMPARE(int(format.imageSize), lineOffset * 5);
        QCOMPARE(buffer.frameNumber(), quint64(42));
    }

    void pluginsFromModules()
    {
        IPlugin* plugin = PluginManager::createInstance("InvertingConverter");
        QVERIFY2(plugin, qPrintable(PluginManager::lastError()));
        auto* converter = dynamic_cast<IColorConverterPlugin*>(plugin);
        QVERIFY(converter);
        QCOMPARE(converter->name(), QString("InvertingConverter"));
        StreamBuffer buffer(4, Tarpo::PixelType_Mono8, 2, 2, 1);
        buffer.data()[0] = 10;
        const Image image = converter->convert(&buffer);
        QCOMPARE(int(image.pixelData()[0]), 245);
        PluginManager::destroyInstance(plugin);
        PluginManager::destroyInstance(plugin); // unknown now: ignored
        QVERIFY(!PluginManager::createInstance("NoSuchPlugin"));
        QVERIFY(PluginManager::lastError().contains("NoSuchPlugin"));
    }
};

QTEST_GUILESS_MAIN(tst_ViewerSdk)
#include "tst_viewersdk.moc"
