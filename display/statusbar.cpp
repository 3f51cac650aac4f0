#include "display/statusbar.h"

#include "qtbase/formatting.h"

#include <QLabel>
#include <QLocale>

namespace {

const char* const kTableStart =
    "<table border='1' width='100%' cellpadding='0' cellspacing='0'><tr>";
const char* const kTableEnd = "</tr></table>";
const char* const kMonoRow =
    "<td align='left' width='20%'>Mono:</td><td align='right' width='20%'>%1</td>"
    "<td align='right' width='9%'> </td><td align='left' width='12%'>RGB:</td>"
    "<td align='right' width='12%'>%2</td><td align='right' width='12%'>%3</td>"
    "<td align='right' width='12%'>%4</td>";
const char* const kYuvRow =
    "<td align='left' width='12%'>YUV:</td><td align='right' width='12%'>%1</td>"
    "<td align='right' width='12%'>%2</td><td align='right' width='12%'>%3</td>"
    "<td align='right' width='2%'> </td><td align='left' width='12%'>RGB:</td>"
    "<td align='right' width='12%'>%4</td><td align='right' width='12%'>%5</td>"
    "<td align='right' width='12%'>%6</td>";
// Colour sources in the YUV row's layout: the camera's samples, then the displayed colour.
const char* const kRawColorRow =
    "<td align='left' width='12%'>Raw:</td><td align='right' width='12%'>%1</td>"
    "<td align='right' width='12%'>%2</td><td align='right' width='12%'>%3</td>"
    "<td align='right' width='2%'> </td><td align='left' width='12%'>RGB:</td>"
    "<td align='right' width='12%'>%4</td><td align='right' width='12%'>%5</td>"
    "<td align='right' width='12%'>%6</td>";
// The displayed colour alone, when the source frame cannot be read.
const char* const kRgbRow =
    "<td align='left' width='12%'>RGB:</td><td align='right' width='12%'>%1</td>"
    "<td align='right' width='12%'>%2</td><td align='right' width='12%'>%3</td>";
// A Bayer sample in the mono row's layout, named after its filter colour.
const char* const kBayerRow =
    "<td align='left' width='20%'>Bayer %1:</td><td align='right' width='20%'>%2</td>"
    "<td align='right' width='9%'> </td><td align='left' width='12%'>RGB:</td>"
    "<td align='right' width='12%'>%3</td><td align='right' width='12%'>%4</td>"
    "<td align='right' width='12%'>%5</td>";

QString shownText(const PixelValue& value)
{
    if (value.grey)
        return QString::number(qRed(value.rgb));
    return QString("%1, %2, %3").arg(qRed(value.rgb)).arg(qGreen(value.rgb)).arg(qBlue(value.rgb));
}

} // namespace

StatusBar::StatusBar(QWidget* parent) : QStatusBar(parent)
{
    // Left what is displayed, right what the camera delivers. Each field is at least as wide
    // as the widest text a camera commonly produces, so the bar does not jump as values change;
    // these widths, not the texts, are the bar's minimum, so a long value never forces the
    // (MDI) window wider. The pixel value takes the room left over, for its raw samples.
    m_imageSizeLabel = addLabel(tr("Image size"), " 8888 x 8888 ", 0);
    m_zoomLabel = addLabel(tr("Zoom"), " 16.67% ", 0);
    m_pixelPositionLabel = addLabel(tr("Pixel position"), " 8888, 8888 ", 0);
    m_pixelValueLabel = addLabel(QString(), " 888, 888, 888 ", 1);
    m_frameRateLabel = addLabel(tr("Frame rate"), " 888 fps ", -1);
    m_dataRateLabel = addLabel(tr("Data rate"), " 888 MB/s ", -1);
    m_imageCounterLabel = addLabel(tr("Images received (failed)"), QString(), -1);
    m_imageCounterLabel->setMinimumWidth(
        m_imageCounterLabel->fontMetrics().horizontalAdvance(formatImageCount(88888888)));
}

QLabel* StatusBar::addLabel(const QString& toolTip, const QString& widestText, int stretch)
{
    auto* label = new QLabel(this);
    label->setFrameStyle(QFrame::Panel | QFrame::Sunken);
    label->setToolTip(toolTip);
    // As tall from the start as with text, so that the first value does not make the bar grow
    // and shift the image above it.
    label->setText(QStringLiteral("8"));
    label->setMinimumHeight(label->sizeHint().height());
    label->clear();
    if (!widestText.isEmpty())
        label->setMinimumWidth(label->fontMetrics().horizontalAdvance(widestText) +
                               2 * label->frameWidth());
    if (stretch < 0)
        addPermanentWidget(label);
    else
        addWidget(label, stretch);
    return label;
}

QString StatusBar::zoomText(double zoom)
{
    QString text = QLocale::c().toString(zoom * 100.0, 'f', 2);
    while (text.endsWith('0'))
        text.chop(1);
    if (text.endsWith('.'))
        text.chop(1);
    return text + "%";
}

QString StatusBar::pixelValueText(const PixelValue& value)
{
    const QString shown = shownText(value);
    const QString raw = value.raw.isValid() ? value.raw.text() : QString();
    // The camera's samples only where they say more than the displayed value.
    if (raw.isEmpty() || raw == shown)
        return QString(" %1 ").arg(shown);
    return QString(" %1 (%2) ").arg(shown, raw);
}

QString StatusBar::pixelValueToolTip(const PixelValue& value)
{
    const int r = qRed(value.rgb);
    const int g = qGreen(value.rgb);
    const int b = qBlue(value.rgb);
    const RawPixel& raw = value.raw;
    QString row;
    switch (raw.kind) {
    case RawPixel::Yuv:
    case RawPixel::Rgb:
        row = QString(raw.kind == RawPixel::Yuv ? kYuvRow : kRawColorRow)
                  .arg(raw.values[0])
                  .arg(raw.values[1])
                  .arg(raw.values[2])
                  .arg(r)
                  .arg(g)
                  .arg(b);
        break;
    case RawPixel::Bayer:
        row = QString(kBayerRow).arg(QChar(raw.filter)).arg(raw.values[0]).arg(r).arg(g).arg(b);
        break;
    case RawPixel::Mono:
        row = QString(kMonoRow).arg(raw.values[0]).arg(r).arg(g).arg(b);
        break;
    case RawPixel::None:
        // Without the source frame: the displayed value in the row of its kind.
        row = value.grey ? QString(kMonoRow).arg(r).arg(r).arg(g).arg(b)
                         : QString(kRgbRow).arg(r).arg(g).arg(b);
        break;
    }
    return kTableStart + row + kTableEnd;
}

void StatusBar::update(StatusBar::StatusInfo* info)
{
    if (!info)
        return;
    if (info->imageSizeChanged) {
        m_imageSizeLabel->setText(
            info->imageWidth > 0 && info->imageHeight > 0
                ? QString(" %1 x %2 ").arg(info->imageWidth).arg(info->imageHeight)
                : QString());
        info->imageSizeChanged = false;
    }
    if (info->pixelChanged) {
        if (info->pixelValid) {
            m_pixelPositionLabel->setText(QString(" %1, %2 ").arg(info->pixelX).arg(info->pixelY));
            m_pixelValueLabel->setText(pixelValueText(info->pixelValue));
            m_pixelValueLabel->setToolTip(pixelValueToolTip(info->pixelValue));
        } else {
            m_pixelPositionLabel->clear();
            m_pixelValueLabel->clear();
            m_pixelValueLabel->setToolTip(QString());
        }
        info->pixelChanged = false;
    }
    if (info->zoomChanged) {
        m_zoomLabel->setText(QString(" %1 ").arg(zoomText(info->zoom)));
        info->zoomChanged = false;
    }
    if (info->perfDataChanged) {
        // formatDoubleValueAndUnits shows a negative value as "--": without a frame rate the
        // data rate is not known either.
        const bool known = info->framesPerSecond >= 0.0;
        m_frameRateLabel->setText(
            QString(" %1 ").arg(formatDoubleValueAndUnits(info->framesPerSecond, "fps")));
        m_dataRateLabel->setText(QString(" %1 ").arg(formatDoubleValueAndUnits(
            known ? static_cast<double>(info->bytesPerSecond) : -1.0, "B/s")));
        info->perfDataChanged = false;
    }
    if (info->imageCounterChanged) {
        // The failed images as the count's detail, only when there are any: the bar has little
        // room in a small sub-window.
        const QString count = formatImageCount(info->imageCounter);
        m_imageCounterLabel->setText(
            info->imageErrorCounter > 0
                ? QString(" %1 (%2) ").arg(count, formatImageCount(info->imageErrorCounter))
                : QString(" %1 ").arg(count));
        info->imageCounterChanged = false;
    }
}
