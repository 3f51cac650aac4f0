#include "qtbase/helpsupport.h"

#include "qtbase/devicename.h"
#include "tarpo/libraryversions.h"
#include "tarpo/tlfactory.h"

#include <QApplication>
#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>
#include <QUrl>
#include <QUrlQuery>

const char* const kFeedbackUrl = "https://github.com/morvex/tarpo-viewer/issues";
const char* const kSupportMailAddress = "support@morvex.com";

QString GetHelpFilePath()
{
    QStringList candidates;
    const QString configured = qEnvironmentVariable("TARPO_MANUAL_PATH");
    if (!configured.isEmpty()) {
        candidates << configured;
    } else {
        const QString folder = QCoreApplication::applicationDirPath();
        candidates << folder + "/manual/index.html"
                   << folder + "/../share/doc/tarpo-viewer/manual/index.html";
    }
    for (const QString& candidate : candidates)
        if (QFileInfo(candidate).isFile())
            return QFileInfo(candidate).canonicalFilePath();
    return QString();
}

bool ShowHelpFile()
{
    const QString path = GetHelpFilePath();
    return !path.isEmpty() && QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

bool OpenFeedbackUrl()
{
    return QDesktopServices::openUrl(QUrl(kFeedbackUrl));
}

QString GetMorvexSupportInfo(const Tarpo::DeviceInfoList& devices)
{
    QString text = QString("To: %1\n\n%2 %3\nQt %4\n")
                       .arg(kSupportMailAddress, QCoreApplication::applicationName(),
                            QCoreApplication::applicationVersion(), qVersion());
    for (const auto& [name, version] : Tarpo::GetLibraryVersions())
        text +=
            QString("%1 %2\n").arg(QString::fromStdString(name), QString::fromStdString(version));
    text += QString("System: %1, kernel %2 (%3)\n")
                .arg(QSysInfo::prettyProductName(), QSysInfo::kernelVersion(),
                     QSysInfo::currentCpuArchitecture());
    text += QString("Cameras found: %1\n").arg(devices.size());
    for (const Tarpo::CDeviceInfo& info : devices)
        text += QString("  %1 [%2] model %3, serial %4, version %5\n")
                    .arg(formatDeviceName(info), deviceString(info, info.GetDeviceClass()),
                         deviceString(info, info.GetModelName()),
                         deviceString(info, info.GetSerialNumber()),
                         deviceString(info, info.GetDeviceVersion()));
    return text;
}

QString GetMorvexSupportInfo()
{
    Tarpo::DeviceInfoList devices;
    try {
        Tarpo::CTlFactory::GetInstance().EnumerateDevices(devices);
    } catch (const std::exception&) {
        devices.clear();
    }
    return GetMorvexSupportInfo(devices);
}

bool ContactMorvexSupport(const Tarpo::DeviceInfoList& devices)
{
    const QString text = GetMorvexSupportInfo(devices);
    QApplication::clipboard()->setText(text);
    QUrl mail(QString("mailto:%1").arg(kSupportMailAddress));
    QUrlQuery query;
    query.addQueryItem("subject", QString("%1 support").arg(QCoreApplication::applicationName()));
    query.addQueryItem("body", text);
    mail.setQuery(query);
    return QDesktopServices::openUrl(mail);
}
