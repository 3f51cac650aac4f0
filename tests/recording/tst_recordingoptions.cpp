// The recording options: the two sets of defaults, the settings round trip, the stored
// compression record with its two blocks, and copies that outlive their source.

#include "recording/recordingoptions.h"

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

#include <cstring>
#include <memory>

using Tarpo::SAviCompressionOptions;

namespace {

QByteArray block(const char* text)
{
    return QByteArray(text);
}

uint32_t u32At(const QByteArray& bytes, int offset)
{
    uint32_t value = 0;
    std::memcpy(&value, bytes.constData() + offset, 4);
    return value;
}

} // namespace

class tst_RecordingOptions : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    std::unique_ptr<QSettings> settings(const QString& name)
    {
        return std::make_unique<QSettings>(m_dir.filePath(name + ".ini"), QSettings::IniFormat);
    }

private slots:
    void defaults_data()
    {
        QTest::addColumn<bool>("fromSettings");
        QTest::addColumn<bool>("timeLimitEnabled");
        QTest::addColumn<bool>("frameLimitEnabled");
        QTest::addColumn<uint>("frameLimit");
        QTest::addColumn<QString>("folder");

        QTest::newRow("constructed-record") << false << false << false << 200u << QString();
        QTest::newRow("empty-settings")
            << true << true << true << 500u << QDir::toNativeSeparators(QDir::homePath());
    }

    void defaults()
    {
        QFETCH(bool, fromSettings);
        QFETCH(bool, timeLimitEnabled);
        QFETCH(bool, frameLimitEnabled);
        QFETCH(uint, frameLimit);
        QFETCH(QString, folder);

        CRecordingOptions options;
        if (fromSettings) {
            auto store = settings("empty");
            options.load(*store);
        }
        QCOMPARE(options.OutputType, 0u);
        QCOMPARE(options.ImageOutputType, 1u);
        QCOMPARE(QString::fromStdString(options.OutputFolder), folder);
        QCOMPARE(options.SamplingMethod, 0u);
        QCOMPARE(options.TimeBasedTimeLimitEnabled, timeLimitEnabled);
        QCOMPARE(options.TimeBasedTimeLimitUnit, 1u);
        QCOMPARE(options.TimeBasedTimeLimit, 30u);
        QCOMPARE(options.TimeBasedTimeSampleRateUnit, 1u);
        QCOMPARE(options.TimeBasedTimeSampleRate, 1u);
        QCOMPARE(options.FrameBasedFrameLimitEnabled, frameLimitEnabled);
        QCOMPARE(options.FrameBasedFrameLimit, frameLimit);
        QCOMPARE(options.FrameBasedFrameSampleRate, 1u);
        QCOMPARE(options.QueueBufferSize, 100u);
        QCOMPARE(options.AutomaticAviFpsPlayback, true);
        QCOMPARE(options.AviFpsPlayback, 10.0);
        QCOMPARE(options.ShowOptionsOnRecordStart, true);
        QCOMPARE(options.UseCompression, false);
        // Empty settings keep the record's compression options: all zero but the prefix's 20.
        const SAviCompressionOptions& c = options.CompressionOptions;
        QCOMPARE(c.prefixValue64, uint64_t(0));
        QCOMPARE(c.prefixValue32, 20u);
        QCOMPARE(c.aviCompressOptions.fccHandler, 0u);
        QVERIFY(!c.aviCompressOptions.lpFormat && !c.aviCompressOptions.lpParms);
    }

    // Every key comes back as it went: loading and saving again gives the same settings. The
    // values all differ, so that two keys read into each other's field would show.
    void settingsRoundTrip()
    {
        CRecordingOptions saved;
        uint32_t* numbers[] = {&saved.OutputType,
                               &saved.ImageOutputType,
                               &saved.SamplingMethod,
                               &saved.TimeBasedTimeLimitUnit,
                               &saved.TimeBasedTimeLimit,
                               &saved.TimeBasedTimeSampleRateUnit,
                               &saved.TimeBasedTimeSampleRate,
                               &saved.FrameBasedFrameLimit,
                               &saved.FrameBasedFrameSampleRate,
                               &saved.QueueBufferSize};
        uint32_t value = 11;
        for (uint32_t* number : numbers)
            *number = value++;
        for (bool* flag : {&saved.TimeBasedTimeLimitEnabled, &saved.FrameBasedFrameLimitEnabled,
                           &saved.AutomaticAviFpsPlayback, &saved.ShowOptionsOnRecordStart})
            *flag = !*flag;
        saved.UseCompression = true;
        saved.OutputFolder = "/data/recordings";
        saved.AviFpsPlayback = 29.97;
        saved.CompressionOptions.aviCompressOptions.fccHandler = Tarpo::FourCCFromString("MJPG");
        saved.setParameterBlock("preset=fast\n", 12);
        saved.setFormatBlock("FMT", 3);
        auto first = settings("first");
        saved.save(*first);
        CRecordingOptions loaded;
        loaded.load(*first);
        auto second = settings("second");
        loaded.save(*second);
        QCOMPARE(second->allKeys(), first->allKeys());
        for (const QString& key : first->allKeys()) {
            QVariant a = first->value(key), b = second->value(key);
            if (key.endsWith("x64")) // stale pointers aside, the same bytes
                for (QVariant* v : {&a, &b})
                    *v = v->toByteArray()
                             .replace(40, 8, QByteArray(8, 0))
                             .replace(56, 8, QByteArray(8, 0));
            QVERIFY2(a == b, qPrintable(key));
        }
        QCOMPARE(loaded.FrameBasedFrameLimit, saved.FrameBasedFrameLimit);
        QCOMPARE(loaded.AviFpsPlayback, 29.97);
        QVERIFY(loaded.CompressionOptions.aviCompressOptions.lpParms ==
                loaded.parameterBlock().data());
    }

    // The stored compression record: 72 bytes as in memory, then the parameter block, then
    // the format block; decoding takes them in that order.
    void compressionRecord_data()
    {
        QTest::addColumn<QByteArray>("parameters");
        QTest::addColumn<QByteArray>("format");
        QTest::addColumn<bool>("emptyValue");

        QTest::newRow("no-blocks-gives-null-pointers") << QByteArray() << QByteArray() << false;
        QTest::newRow("both-blocks") << block("crf=20\n") << block("\x01\x02\x03\x04\x05") << false;
        QTest::newRow("parameters-only") << block("preset=slow") << QByteArray() << false;
        QTest::newRow("empty-value-keeps-the-options") << QByteArray() << QByteArray() << true;
    }

    void compressionRecord()
    {
        QFETCH(QByteArray, parameters);
        QFETCH(QByteArray, format);
        QFETCH(bool, emptyValue);

        CRecordingOptions source;
        source.CompressionOptions.prefixValue64 = 0x1122334455667788ull;
        source.CompressionOptions.prefixFlag1 = 1;
        source.CompressionOptions.aviCompressOptions.fccHandler = Tarpo::FourCCFromString("FFV1");
        source.CompressionOptions.aviCompressOptions.dwKeyFrameEvery = 15;
        source.setParameterBlock(parameters.constData(), size_t(parameters.size()));
        source.setFormatBlock(format.constData(), size_t(format.size()));

        const QByteArray bytes = source.compressionOptionsToByteArray();
        QCOMPARE(bytes.size(), 72 + parameters.size() + format.size());
        QCOMPARE(u32At(bytes, 12), 20u);                             // the prefix's 32-bit value
        QCOMPARE(u32At(bytes, 20), Tarpo::FourCCFromString("FFV1")); // fccHandler
        QCOMPARE(u32At(bytes, 24), 15u);                             // dwKeyFrameEvery
        QCOMPARE(u32At(bytes, 48), uint32_t(format.size()));         // cbFormat
        QCOMPARE(u32At(bytes, 64), uint32_t(parameters.size()));     // cbParms
        QCOMPARE(bytes.mid(72, parameters.size()), parameters);
        QCOMPARE(bytes.mid(72 + parameters.size()), format);

        {
            auto store = settings(QTest::currentDataTag());
            store->setValue("Recording/AviCompressionOptionsx64",
                            emptyValue ? QByteArray() : bytes);
        }
        CRecordingOptions loaded;
        auto store = settings(QTest::currentDataTag());
        loaded.load(*store);
        const auto& avi = loaded.CompressionOptions.aviCompressOptions;
        if (emptyValue) {
            QCOMPARE(avi.fccHandler, 0u);
            QCOMPARE(loaded.CompressionOptions.prefixValue32, 20u);
            return;
        }
        QCOMPARE(loaded.CompressionOptions.prefixValue64, 0x1122334455667788ull);
        QCOMPARE(loaded.CompressionOptions.prefixFlag1, uint8_t(1));
        QCOMPARE(avi.fccHandler, Tarpo::FourCCFromString("FFV1"));
        QCOMPARE(avi.lpParms == nullptr, parameters.isEmpty());
        QCOMPARE(avi.lpFormat == nullptr, format.isEmpty());
        QCOMPARE(QByteArray(reinterpret_cast<const char*>(loaded.parameterBlock().data()),
                            int(loaded.parameterBlock().size())),
                 parameters);
        QCOMPARE(QByteArray(reinterpret_cast<const char*>(loaded.formatBlock().data()),
                            int(loaded.formatBlock().size())),
                 format);
        // Saved again, the record is the same bytes, stale pointers apart.
        QByteArray again = loaded.compressionOptionsToByteArray();
        QByteArray original = bytes;
        for (QByteArray* b : {&again, &original}) {
            b->replace(40, 8, QByteArray(8, 0)); // lpFormat
            b->replace(56, 8, QByteArray(8, 0)); // lpParms
        }
        QCOMPARE(again, original);
    }

    // A damaged value never reads beyond its bytes.
    void damagedCompressionRecord_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<uint>("fccHandler");
        QTest::addColumn<int>("parameterBytes");

        CRecordingOptions source;
        source.CompressionOptions.aviCompressOptions.fccHandler = Tarpo::FourCCFromString("MJPG");
        source.setParameterBlock("abcdefgh", 8);
        const QByteArray full = source.compressionOptionsToByteArray();
        QTest::newRow("shorter-than-the-record") << full.left(40) << 0u << 0;
        QTest::newRow("block-cut-short") << full.left(75) << Tarpo::FourCCFromString("MJPG") << 3;
    }

    void damagedCompressionRecord()
    {
        QFETCH(QByteArray, stored);
        QFETCH(uint, fccHandler);
        QFETCH(int, parameterBytes);
        CRecordingOptions options;
        options.compressionOptionsFromByteArray(stored);
        QCOMPARE(options.CompressionOptions.aviCompressOptions.fccHandler, fccHandler);
        QCOMPARE(int(options.parameterBlock().size()), parameterBytes);
        QCOMPARE(int(options.CompressionOptions.aviCompressOptions.cbParms), parameterBytes);
    }

    void copiesOutliveTheirSource()
    {
        CRecordingOptions copied;
        CRecordingOptions assigned;
        {
            auto source = std::make_unique<CRecordingOptions>();
            source->OutputFolder = "/x";
            source->setParameterBlock("quality=5", 9);
            source->setFormatBlock("\x10\x20", 2);
            CRecordingOptions copy(*source);
            copied = copy;
            assigned = *source;
            // Each copy points at its own blocks.
            QVERIFY(copy.CompressionOptions.aviCompressOptions.lpParms !=
                    source->CompressionOptions.aviCompressOptions.lpParms);
        }
        for (const CRecordingOptions* options : {&copied, &assigned}) {
            const auto& avi = options->CompressionOptions.aviCompressOptions;
            QVERIFY(avi.lpParms == options->parameterBlock().data());
            QVERIFY(avi.lpFormat == options->formatBlock().data());
            QCOMPARE(QByteArray(static_cast<const char*>(avi.lpParms), int(avi.cbParms)),
                     block("quality=5"));
            QCOMPARE(QByteArray(static_cast<const char*>(avi.lpFormat), int(avi.cbFormat)),
                     block("\x10\x20"));
            QCOMPARE(QString::fromStdString(options->OutputFolder), QString("/x"));
        }
    }

    // A codec dialog hands back a record that points at its own memory.
    void setCompressionOptionsCopiesTheBlocks()
    {
        QByteArray dialogParameters("preset=ultrafast");
        SAviCompressionOptions fromDialog;
        fromDialog.aviCompressOptions.fccHandler = Tarpo::FourCCFromString("H264");
        fromDialog.aviCompressOptions.lpParms = dialogParameters.data();
        fromDialog.aviCompressOptions.cbParms = uint32_t(dialogParameters.size());
        CRecordingOptions options;
        options.setCompressionOptions(fromDialog);
        dialogParameters.fill('x');
        const auto& avi = options.CompressionOptions.aviCompressOptions;
        QVERIFY(avi.lpParms == options.parameterBlock().data());
        QCOMPARE(QByteArray(static_cast<const char*>(avi.lpParms), int(avi.cbParms)),
                 block("preset=ultrafast"));
        QVERIFY(!avi.lpFormat);
        // Taking back its own record keeps the blocks.
        options.setCompressionOptions(options.CompressionOptions);
        QCOMPARE(QByteArray(static_cast<const char*>(
                                options.CompressionOptions.aviCompressOptions.lpParms),
                            16),
                 block("preset=ultrafast"));
    }
};

QTEST_GUILESS_MAIN(tst_RecordingOptions)
#include "tst_recordingoptions.moc"
