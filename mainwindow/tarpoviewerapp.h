#pragma once

// The viewer's one top-level window: the MDI area with every opened camera's image window, the
// docks (devices, features, feature documentation, message log, feature properties), the menus,
// the tool bar and the status bar. Routes every command either to the context manager or to a
// slot of its own, reads the settings at start and writes them at close, runs the small dialogs
// and shows the errors any part of the program queues for the user.
// Thread: GUI only. Errors of other threads arrive queued through the global error queue.

#include "genapi/types.h"
#include "qtbase/asyncerrorqueue.h"
#include "qtwidgets/userlevel.h"
#include "recording/recordingoptions.h"
#include "tarpo/deviceinfo.h"
#include "ui_tarpoviewerapp.h"

#include <QMainWindow>
#include <QString>

class Camera;
class ContextManager;
class DeviceTreeWindow;
class DocWindow;
class FeatureTreeWindow;
class LogWindow;
class PropertiesWindow;
class QMdiArea;
class QMdiSubWindow;
class QMenu;
class OptionsDialog;

class TarpoViewerApp : public QMainWindow
{
    Q_OBJECT

public:
    // The version of the saved window layout; a layout of another version is ignored.
    static constexpr int kLayoutVersion = 13;
    // Posted to itself at construction: hints and checks run once the window is up.
    static constexpr QEvent::Type kDeferredInitEvent = QEvent::Type(46778);

    explicit TarpoViewerApp(QWidget* parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());
    ~TarpoViewerApp() override;

    bool multicastMonitorMode() const { return m_multicastMonitorMode; }
    // The name "-p" asked to preselect; empty when none.
    QString preselectedDeviceName() const { return m_preselectedDeviceName; }
    unsigned userLevel() const { return m_userLevel; }
    ContextManager* contextManager() const { return m_contextManager; }
    QMdiArea* mdiArea() const { return m_mdiArea; }
    DeviceTreeWindow* deviceTreeWindow() const { return m_deviceTreeWindow; }
    LogWindow* logWindow() const { return m_logWindow; }
    FeatureTreeWindow* featureTreeWindow() const { return m_featureTreeWindow; }
    PropertiesWindow* propertiesWindow() const { return m_propertiesWindow; }
    DocWindow* docWindow() const { return m_docWindow; }
    const Ui_TarpoViewerAppClass& ui() const { return m_ui; }
    QAction* speedTestAction() const { return m_actionSpeedTestGrab; }
    QAction* clearCacheAction() const { return m_actionClearCache; }
    const CRecordingOptions& recordingOptions() const { return m_recordingOptions; }

    // What the file dialogs lead to; the dialogs ask for the name, these do the work.
    // Saves the active image window's image; false (with a message) when it could not.
    bool saveImageTo(const QString& fileName);
    bool saveFeatures(const QString& fileName);
    bool loadFeatures(const QString& fileName);
    // "-m" or "/m" sets monitor mode; "-p" or "/p" NAME names the device to preselect. Argument
    // 0 is skipped, arguments are trimmed and compared exactly, others are left to Qt.
    static void parseCommandLine(const QStringList& arguments, bool* monitorMode,
                                 QString* preselectedDeviceName);
    // The file name a user typed, with the suffix of the filter chosen when it has none.
    static QString withFilterSuffix(const QString& fileName, const QString& selectedFilter);

public slots:
    void updateActions();
    void on_actionViewHelp_triggered();
    void on_actionAbout_tarpo_Viewer_triggered();
    void on_actionFeedback_triggered();
    void on_actionContact_Morvex_Support_triggered();
    void on_actionOptions_triggered();
    void on_actionSaveImage_triggered();
    void on_actionCopyCameraParamters_triggered();
    void on_actionFile_Access_triggered();
    void on_actionLoad_Parameter_triggered();
    void on_actionSave_Parameter_triggered();
    void on_actionRemote_GigE_Camera_triggered();
    void ClearCache_triggered();
    void ContinousGrab_triggered();
    void SpeedTestGrab_triggered();
    void Record_triggered();
    void RecordPause_triggered();
    void RecordStop_triggered();
    void onActionBandwidthDialog_triggered();
    void onActionOptimizeCameraParameters_triggered();
    void onShowDeviceContextMenu(QMenu* menu, const QPoint& pos);
    void onShowRootContextMenu(QMenu* menu, const QPoint& pos);
    void setUserLevel(TarpoViewer::EUserLevel level);
    void setVisibility(GenApi::EVisibility visibility);
    void setPollingState(bool pollingstate);
    void setViewAllFavoritesState(bool viewAllFavoritesstate);
    void onFontSizeChanged(int pointSize);
    void onPollingChanged(bool polling);
    void onViewAllFavoritesChanged(bool viewAllFavorites);
    void OnMDIWindowActivated(QMdiSubWindow* subWindow);
    void onDisplayError(AsyncErrorQueue::ErrorSeverity severity, QString message, QString details,
                        QWidget* parent);
    void onFilterMatchesChanged(int count, int invisibleCount);

protected:
    void closeEvent(QCloseEvent* event) override;
    void customEvent(QEvent* event) override;

private:
    void createDocks();
    void createHiddenActions();
    void makeConnections();
    // Asks for a GigE camera's address and announces the camera there.
    void createCameraPerIp();
    // Fills the dialog with the current values and applies what it emits.
    void primeOptionsDialog(OptionsDialog& dialog);
    void readSettings();
    void writeSettings();
    void showNewFeatureHint();
    void checkCameraLinkConfiguration();
    // The selected devices' first entry, or null.
    const Tarpo::CDeviceInfo* firstSelectedDevice(Tarpo::DeviceInfoList& selection) const;
    // Asks where to save with the suffix rule and the overwrite question; empty when cancelled.
    QString askSaveFileName(const QString& title, const QString& proposal, const QString& filters,
                            QString* selectedFilter);
    bool gigeTransportLayerAvailable();
    QString productTitle() const;

    Ui_TarpoViewerAppClass m_ui;
    QMdiArea* m_mdiArea = nullptr;
    FeatureTreeWindow* m_featureTreeWindow = nullptr;
    DeviceTreeWindow* m_deviceTreeWindow = nullptr;
    DocWindow* m_docWindow = nullptr;
    LogWindow* m_logWindow = nullptr;
    PropertiesWindow* m_propertiesWindow = nullptr;
    ContextManager* m_contextManager = nullptr;
    unsigned m_userLevel = 0;
    bool m_multicastMonitorMode = false;
    QString m_preselectedDeviceName;
    QAction* m_actionClearCache = nullptr;
    QAction* m_actionSpeedTestGrab = nullptr;
    CRecordingOptions m_recordingOptions;
    QString m_workingDirectory;
    bool m_polling = true;
    bool m_viewAllFavorites = true;
    int m_gigeTransportLayer = -1; // -1 not tested yet, else 0 or 1
};
