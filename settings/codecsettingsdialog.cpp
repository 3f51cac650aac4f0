#include "settings/codecsettingsdialog.h"

#include "genapi/genicamexception.h"
#include "qtbase/widgetgeometry.h"
#include "tarpo/avicodeccatalog.h"
#include "tarpo/aviwriter.h"
#include "tarpo/pixeltype.h"
#include "ui_codecsettingsdialog.h"

#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryFile>

#include <cerrno>
#include <cmath>
#include <cstring>

namespace {

const char* const kGeometryName = "CodecSettingsDialog";
const uint32_t kUncompressed = Tarpo::MakeFourCC('D', 'I', 'B', ' ');

// The record asks for the codec's own quality.
bool defaultQuality(const Tarpo::AVICOMPRESSOPTIONS& record)
{
    return record.dwQuality == Tarpo::ICQUALITY_DEFAULT;
}

} // namespace

CodecSettingsDialog::CodecSettingsDialog(const CRecordingOptions& options, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::CodecSettingsDialogClass>()), m_options(options)
{
    m_ui->setupUi(this);
    m_ui->comboBoxCodec->addItem("Uncompressed (DIB)", kUncompressed);
    for (const Tarpo::SAviCodecInfo& codec : Tarpo::CAviCodecCatalog::GetAvailableCodecs()) {
        if (codec.fourCC == kUncompressed)
            continue;
        m_ui->comboBoxCodec->addItem(
            QString("%1 – %2").arg(QString::fromStdString(codec.fourCCText),
                                   QString::fromStdString(codec.description)),
            codec.fourCC);
    }
    const Tarpo::AVICOMPRESSOPTIONS& record = m_options.CompressionOptions.aviCompressOptions;
    int index = m_ui->comboBoxCodec->findData(
        Tarpo::IsUncompressed(m_options.CompressionOptions) ? kUncompressed : record.fccHandler);
    if (index < 0) {
        // A codec this build cannot write: keep it visible, so the user sees what was chosen.
        m_ui->comboBoxCodec->addItem(
            QString::fromStdString(
                Tarpo::CAviCodecCatalog::GetCompressionInfoText(m_options.CompressionOptions)),
            record.fccHandler);
        index = m_ui->comboBoxCodec->count() - 1;
    }
    m_ui->comboBoxCodec->setCurrentIndex(index);
    const int percent = defaultQuality(record) ? 75 : int(std::lround(record.dwQuality / 100.0));
    m_ui->spinBoxQuality->setValue(percent);
    m_ui->sliderQuality->setValue(percent);
    m_ui->checkBoxDefaultQuality->setChecked(defaultQuality(record));
    m_ui->checkBoxKeyFrames->setChecked(record.dwFlags & Tarpo::AVICOMPRESSF_KEYFRAMES);
    if (record.dwKeyFrameEvery > 0)
        m_ui->spinBoxKeyFrameEvery->setValue(int(record.dwKeyFrameEvery));
    m_ui->checkBoxDataRate->setChecked(record.dwFlags & Tarpo::AVICOMPRESSF_DATARATE);
    if (record.dwBytesPerSecond > 0)
        m_ui->spinBoxDataRate->setValue(int(record.dwBytesPerSecond / 1000));
    const std::vector<uint8_t>& parameters = m_options.parameterBlock();
    m_ui->plainTextEditParameters->setPlainText(
        QString::fromUtf8(reinterpret_cast<const char*>(parameters.data()), int(parameters.size()))
            .trimmed());

    connect(m_ui->sliderQuality, &QSlider::valueChanged, m_ui->spinBoxQuality, &QSpinBox::setValue);
    connect(m_ui->spinBoxQuality, qOverload<int>(&QSpinBox::valueChanged), m_ui->sliderQuality,
            &QSlider::setValue);
    connect(m_ui->comboBoxCodec, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &CodecSettingsDialog::showCodec);
    for (QCheckBox* box :
         {m_ui->checkBoxDefaultQuality, m_ui->checkBoxKeyFrames, m_ui->checkBoxDataRate})
        connect(box, &QCheckBox::toggled, this, &CodecSettingsDialog::updateEnabledStates);
    connect(m_ui->buttonBox, &QDialogButtonBox::accepted, this, &CodecSettingsDialog::accept);
    connect(m_ui->buttonBox, &QDialogButtonBox::rejected, this, &QDialog::reject);
    showCodec();
    restoreWidgetGeometry(this, kGeometryName);
}

CodecSettingsDialog::~CodecSettingsDialog()
{
    saveWidgetGeometry(this, kGeometryName);
}

void CodecSettingsDialog::showCodec()
{
    const uint32_t fourCC = m_ui->comboBoxCodec->currentData().toUInt();
    Tarpo::SAviCodecInfo codec;
    if (fourCC == kUncompressed) {
        m_ui->labelCodecInfo->setText("Frames are stored as they are: the largest files, every "
                                      "player opens them.");
    } else if (Tarpo::CAviCodecCatalog::FindCodec(fourCC, codec)) {
        m_ui->labelCodecInfo->setText(
            QString("FFmpeg encoder \"%1\"%2")
                .arg(QString::fromStdString(codec.encoderName),
                     codec.lossless ? ", lossless: every sample is kept." : ", lossy."));
    } else {
        m_ui->labelCodecInfo->setText("This FFmpeg build has no encoder for this codec.");
    }
    updateEnabledStates();
}

void CodecSettingsDialog::updateEnabledStates()
{
    const uint32_t fourCC = m_ui->comboBoxCodec->currentData().toUInt();
    Tarpo::SAviCodecInfo codec;
    const bool known = fourCC != kUncompressed && Tarpo::CAviCodecCatalog::FindCodec(fourCC, codec);
    const bool lossy = known && codec.qualityControl != Tarpo::AviQualityControl_None;
    m_ui->checkBoxDefaultQuality->setEnabled(lossy);
    const bool quality = lossy && !m_ui->checkBoxDefaultQuality->isChecked();
    m_ui->sliderQuality->setEnabled(quality);
    m_ui->spinBoxQuality->setEnabled(quality);
    m_ui->checkBoxKeyFrames->setEnabled(known);
    m_ui->spinBoxKeyFrameEvery->setEnabled(known && m_ui->checkBoxKeyFrames->isChecked());
    m_ui->checkBoxDataRate->setEnabled(lossy);
    m_ui->spinBoxDataRate->setEnabled(lossy && m_ui->checkBoxDataRate->isChecked());
    m_ui->plainTextEditParameters->setEnabled(known);
}

void CodecSettingsDialog::takeValues()
{
    Tarpo::SAviCompressionOptions compression = m_options.CompressionOptions;
    Tarpo::AVICOMPRESSOPTIONS& record = compression.aviCompressOptions;
    record.fccType = Tarpo::streamtypeVIDEO;
    record.fccHandler = m_ui->comboBoxCodec->currentData().toUInt();
    record.dwQuality = m_ui->checkBoxDefaultQuality->isChecked()
                           ? Tarpo::ICQUALITY_DEFAULT
                           : uint32_t(m_ui->spinBoxQuality->value()) * 100u;
    record.dwFlags &= ~(Tarpo::AVICOMPRESSF_KEYFRAMES | Tarpo::AVICOMPRESSF_DATARATE);
    record.dwKeyFrameEvery = 0;
    record.dwBytesPerSecond = 0;
    if (m_ui->checkBoxKeyFrames->isEnabled() && m_ui->checkBoxKeyFrames->isChecked()) {
        record.dwFlags |= Tarpo::AVICOMPRESSF_KEYFRAMES;
        record.dwKeyFrameEvery = uint32_t(m_ui->spinBoxKeyFrameEvery->value());
    }
    if (m_ui->checkBoxDataRate->isEnabled() && m_ui->checkBoxDataRate->isChecked()) {
        record.dwFlags |= Tarpo::AVICOMPRESSF_DATARATE;
        record.dwBytesPerSecond = uint32_t(m_ui->spinBoxDataRate->value()) * 1000u;
    }
    record.dwFlags |= Tarpo::AVICOMPRESSF_VALID;
    const QByteArray parameters =
        m_ui->plainTextEditParameters->isEnabled()
            ? m_ui->plainTextEditParameters->toPlainText().trimmed().toUtf8()
            : QByteArray();
    m_options.setCompressionOptions(compression);
    m_options.setParameterBlock(parameters.constData(), size_t(parameters.size()));
}

void CodecSettingsDialog::testEncoder(const CRecordingOptions& options)
{
    QTemporaryFile probe(QDir::tempPath() + "/tVTmpAvi_XXXXXX.avi");
    probe.setAutoRemove(true);
    if (!probe.open()) {
        const int error = errno;
        throw RUNTIME_EXCEPTION("Cannot create AVI file '%s' hr=%d (%#x): %s",
                                qPrintable(probe.fileTemplate()), error, unsigned(error),
                                qPrintable(probe.errorString()));
    }
    const QString fileName = probe.fileName();
    probe.close();
    const double fps =
        std::fabs(options.AviFpsPlayback) > 0 ? std::fabs(options.AviFpsPlayback) : 25.0;
    const Tarpo::EPixelType outputs[] = {Tarpo::PixelType_BGR8packed, Tarpo::PixelType_Mono8};
    std::string reason;
    for (Tarpo::EPixelType output : outputs) {
        try {
            Tarpo::CAviWriter writer;
            writer.Open(fileName.toStdString().c_str(), fps, output, 800, 600, Tarpo::TopDown,
                        &options.CompressionOptions);
            writer.Close();
            QFile::remove(fileName);
            return;
        } catch (const GenICam::GenericException& e) {
            reason = e.GetDescription();
        }
    }
    QFile::remove(fileName);
    throw RUNTIME_EXCEPTION("Cannot create AVI video stream '%s' hr=%d (%#x). %s",
                            qPrintable(fileName), -1, unsigned(-1), reason.c_str());
}

void CodecSettingsDialog::accept()
{
    const CRecordingOptions previous = m_options;
    takeValues();
    if (!Tarpo::IsUncompressed(m_options.CompressionOptions)) {
        try {
            testEncoder(m_options);
        } catch (const GenICam::GenericException& e) {
            m_options = previous;
            QMessageBox::warning(this, windowTitle(), QString::fromUtf8(e.GetDescription()));
            return;
        }
    }
    QDialog::accept();
}
