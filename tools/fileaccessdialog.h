#pragma once

// Copies files between the host and the selected camera: the camera's files in a combo box,
// upload of a host file into one, download of one into a host file, in 1024-byte blocks with the
// byte count shown for larger files. A camera closed while the dialog is open (from whichever
// thread) ends every further transfer with "Camera is already closed.".
// Thread: GUI only, except onNotifyCameraShutDown(), which may run where the device shuts down.

#include <QDialog>

#include <memory>
#include <mutex>

class Camera;
namespace GenApi {
class INodeMap;
}
namespace Ui {
class FileAccessDialogClass;
}

class FileAccessDialog : public QDialog
{
    Q_OBJECT

public:
    FileAccessDialog(QWidget* parent, Camera* camera);
    ~FileAccessDialog() override;

    Ui::FileAccessDialogClass* ui() const { return m_ui.get(); }
    bool cameraShutDown() const;

    // The transfers without their file dialogs: the selected camera file and a host file.
    // False (after the message) when it did not complete.
    bool upload(const QString& hostFile);
    bool download(const QString& hostFile);

public slots:
    void onNotifyCameraShutDown(Camera* pCamera);
    void on_BtnDownload_clicked();
    void on_BtnUpload_clicked();
    void on_BtnClose_clicked();

private:
    void FillComboBox();
    // False (after the message and closing the dialog) when the camera is closed.
    bool checkDevice();
    void showProgress(int64_t done, int64_t total);

    std::unique_ptr<Ui::FileAccessDialogClass> m_ui;
    GenApi::INodeMap* m_nodeMap = nullptr;
    mutable std::mutex m_mutex; // guards m_cameraShutDown
    bool m_cameraShutDown = false;
};
