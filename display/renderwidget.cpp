#include "display/renderwidget.h"

#include "display/imagewindow.h"
#include "trace/trace.h"
#include "viewersdk/streambuffer.h"

#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

namespace {
const char* const kCategory = "RenderWidget";
}

RenderWidget::RenderWidget(ImageWindow* imageWindow, QWidget* parent)
    : QWidget(parent), m_imageWindow(imageWindow)
{
    // Every paint covers the whole exposed area with the image (or the window colour), so Qt
    // must not erase the background first: that erase is what flickers. We do not paint on
    // screen through a native window without a paint engine, as a Windows viewer would: on X11
    // (xcb) such a widget cannot be painted with QPainter at all. The backing store gives the
    // same result here: the image is drawn straight into the widget's area of it, unscaled at
    // zoom 1, and the finished frame reaches the screen in one flush, never half drawn.
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAttribute(Qt::WA_NoSystemBackground);
}

QSize RenderWidget::sizeHint() const
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_image.isValid() ? QSize(m_image.width(), m_image.height()) : QSize(640, 480);
}

TarpoViewerSdk::Image RenderWidget::image() const
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    return m_image;
}

bool RenderWidget::isScaled(double zoom)
{
    return zoom < 0.99 || zoom > 1.01;
}

void RenderWidget::setImage(const TarpoViewerSdk::Image& image)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    m_image = image;
}

void RenderWidget::setZoom(double zoom)
{
    m_zoom = zoom;
}

void RenderWidget::invalidate()
{
    TARPO_TRACE(kCategory, "invalidate()");
}

void RenderWidget::enterEvent(QEvent* event)
{
    QWidget::enterEvent(event);
    m_x = -1;
    setMouseTracking(true);
    emit mouseTrackingChanged(true);
}

void RenderWidget::leaveEvent(QEvent* event)
{
    QWidget::leaveEvent(event);
    setMouseTracking(false);
    emit mouseTrackingChanged(false);
}

void RenderWidget::mouseMoveEvent(QMouseEvent* event)
{
    QWidget::mouseMoveEvent(event);
    const QPoint pixel = imagePixelAt(event->pos());
    m_x = pixel.x();
    m_y = pixel.y();
    emit mouseMoved();
}

QPoint RenderWidget::imagePixelAt(const QPoint& pos) const
{
    if (pos.x() < 0 || pos.y() < 0)
        return QPoint(-1, -1);
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    if (!isScaled(m_zoom) || !m_image.isValid() || width() <= 0 || height() <= 0)
        return pos;
    // The pixel painted under the mouse. The widget is image size x zoom truncated and the
    // image is scaled to exactly that rectangle, so we map through the widget's size rather than
    // divide by the zoom (the two differ by several pixels at zoom 1/12 on a wide image). Qt's
    // nearest-pixel scaling of 32-bit images shows at each widget pixel the image pixel under
    // its centre, taking the left or upper one where the centre falls on a border between two.
    const auto map = [](int pos, int imageExtent, int widgetExtent) {
        const int64_t twice = 2 * int64_t(widgetExtent);
        return static_cast<int>(((2 * int64_t(pos) + 1) * imageExtent + twice - 1) / twice - 1);
    };
    return QPoint(map(pos.x(), m_image.width(), width()), map(pos.y(), m_image.height(), height()));
}

bool RenderWidget::pixelUnderMouse(PixelValue* value, int32_t* x, int32_t* y)
{
    if (!value && !x && !y)
        return false;
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    TarpoViewerSdk::StreamBuffer* buffer = m_image.buffer();
    if (!buffer || m_x < 0 || m_x >= m_image.width() || m_y < 0 || m_y >= m_image.height())
        return false;
    if (x)
        *x = m_x;
    if (y)
        *y = m_y;
    if (value) {
        const QImage image = m_image.qimage();
        value->rgb = image.isNull() ? 0 : image.pixel(m_x, m_y);
        value->grey = m_image.format() == TarpoViewerSdk::Image::Mono8;
        // The image holds its source buffer locked, so the camera's frame is still there. A
        // plug-in may have made an image of another size (three grey columns per RGB pixel):
        // then the image pixel is not a frame pixel and the frame is not read.
        value->raw = buffer->width() == m_image.width() && buffer->height() == m_image.height()
                         ? RawPixel::read(*buffer, m_x, m_y)
                         : RawPixel();
    }
    return true;
}

void RenderWidget::paintEvent(QPaintEvent* event)
{
    std::lock_guard<std::recursive_mutex> lock(m_mutex);
    TARPO_TRACE(kCategory, "paintEvent()");
    QPainter painter(this);
    const QImage image = m_image.qimage();
    if (!m_image.isValid() || image.isNull()) {
        // No image, or a speed-test frame without pixels.
        painter.fillRect(event->rect(), palette().window());
        return;
    }
    if (!m_image.buffer()) {
        qWarning("Invalid streambuffer passed. Skipping render()");
        painter.fillRect(event->rect(), palette().window());
        return;
    }
    if (isScaled(m_zoom)) {
        // The logical window is the image: the painter scales it into the widget, drawing only
        // the exposed part.
        painter.setWindow(0, 0, image.width(), image.height());
        painter.drawImage(0, 0, image);
    } else {
        // Unscaled: copy just the exposed rectangle. Near zoom 1 the widget may be a pixel
        // larger than the image; that strip gets the window colour.
        const QRect exposed = event->rect();
        painter.drawImage(exposed.topLeft(), image, exposed);
        const QRegion outside = QRegion(exposed) - QRegion(image.rect());
        for (const QRect& rect : outside)
            painter.fillRect(rect, palette().window());
    }
    painter.end();
    if (m_imageWindow)
        m_imageWindow->imagePainted();
}
