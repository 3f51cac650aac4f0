#pragma once

// Paints one image at the image window's zoom into its own rectangle (the window sizes it to
// image size x zoom) and reports which image pixel the mouse is over.
// Thread: GUI only.

#include "display/pixelvalue.h"
#include "viewersdk/image.h"

#include <QWidget>

#include <cstdint>
#include <mutex>

class ImageWindow;

class RenderWidget : public QWidget
{
    Q_OBJECT

public:
    // `imageWindow` (borrowed, may be null) is told each time the image has been painted.
    explicit RenderWidget(ImageWindow* imageWindow, QWidget* parent = nullptr);

    QSize sizeHint() const override;

    // Whether the mouse is over a pixel of the current image; when it is, fills the
    // out-parameters given (null ones are skipped). Asked for nothing, it returns false at once.
    bool pixelUnderMouse(PixelValue* value, int32_t* x = nullptr, int32_t* y = nullptr);

    TarpoViewerSdk::Image image() const;
    double zoom() const { return m_zoom; }
    // Whether painting scales the image into the widget (zoom outside 0.99 to 1.01).
    static bool isScaled(double zoom);

signals:
    void mouseTrackingChanged(bool isTracking);
    void mouseMoved();

public slots:
    void setImage(const TarpoViewerSdk::Image& image);
    void setZoom(double zoom);
    void invalidate();

protected:
    void enterEvent(QEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    // The image pixel that widget position `pos` shows, by the mapping painting uses.
    QPoint imagePixelAt(const QPoint& pos) const;

    ImageWindow* m_imageWindow;
    TarpoViewerSdk::Image m_image;
    double m_zoom = 1.0;
    // guards m_image; recursive: painting holds it while it calls out to the image window,
    // which may come back with a pixel query
    mutable std::recursive_mutex m_mutex;
    int32_t m_x = -1; // image pixel under the mouse; -1 while the mouse is outside
    int32_t m_y = 0;
};
