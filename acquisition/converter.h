#pragma once

// Turns each buffer the decoupler passes on into a displayable image and hands it to the image
// window, through colour-converter plug-ins: always the default one, and an extension plug-in
// when one is configured.
// Thread: runs on the decoupler's thread (direct connection); announceNodemaps and shutDown on
// the GUI thread.

#include "genapi/interfaces.h"
#include "tarpo/pixeltype.h"
#include "viewersdk/image.h"

#include <QObject>
#include <QString>

#include <memory>

namespace TarpoViewerSdk {
class IColorConverterPlugin;
class StreamBuffer;
}

class Converter : public QObject
{
    Q_OBJECT

public:
    Converter();
    ~Converter() override;

    bool isSupported(Tarpo::EPixelType pixelType);
    TarpoViewerSdk::Image convert(TarpoViewerSdk::StreamBuffer* buffer);
    // Grey to BGRA, for the extension plug-in; an empty image when there are no pixels.
    static TarpoViewerSdk::Image mono8Image2RgbImage(const TarpoViewerSdk::Image& image);
    // The name of the extension plug-in to load: the environment variable
    // TARPO_EXTENSION_PLUGIN; empty when none is configured.
    static QString extensionPluginName();
    bool hasExtensionPlugin() const { return m_extensionPlugin != nullptr; }

signals:
    // The image is a temporary: a receiver that keeps it must copy it (copies are cheap).
    void imageAvailable(const TarpoViewerSdk::Image& image);
    void nodemapAvailable(GenApi::INodeMap* nodeMap, QString displayName, QString roleName);

public slots:
    void setBuffer(TarpoViewerSdk::StreamBuffer* buffer);
    void announceNodemaps();
    void shutDown();

private:
    std::unique_ptr<TarpoViewerSdk::IColorConverterPlugin> m_colorConverter;
    TarpoViewerSdk::IColorConverterPlugin* m_extensionPlugin = nullptr; // from the plug-in manager
};

Q_DECLARE_METATYPE(GenApi::INodeMap*)
