#include "tools/fileaccessdialog.h"

#include "acquisition/camera.h"
#include "genapi/genicamexception.h"
#include "messagelog/messagelog.h"
#include "tarpo/devicefiletransfer.h"
#include "tarpo/tarpodevice.h"
#include "ui_fileaccessdialog.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>

namespace {

const char* const kTitle = "Camera File Access";
const char* const kUploadTitle = "Camera File Upload";
const char* const kDownloadTitle = "Camera File Download";
// Files of more blocks than this show their progress.
const int64_t kProgressFromBytes = 4 * Tarpo::CDeviceFileTransfer::kBlockSize;

} // namespace

FileAccessDialog::FileAccessDialog(QWidget* parent, Camera* camera)
    : QDialog(parent), m_ui(std::make_unique<Ui::FileAccessDialogClass>())
{
    m_ui->setupUi(this);
    m_ui->progressBar->hide();
    m_ui->labelBytes->hide();
    if (camera && camera->device())
        m_nodeMap = camera->device()->GetNodeMap();
    FillComboBox();
}

FileAccessDialog::~FileAccessDialog() = default;

bool FileAccessDialog::cameraShutDown() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_cameraShutDown;
}

void FileAccessDialog::onNotifyCameraShutDown(Camera* pCamera)
{
    if (!pCamera || !pCamera->device() || pCamera->device()->GetNodeMap() != m_nodeMap)
        return;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_cameraShutDown = true;
}

void FileAccessDialog::FillComboBox()
{
    m_ui->comboBoxFile->clear();
    if (!m_nodeMap || cameraShutDown())
        return;
    try {
        for (const Tarpo::SDeviceFile& file : Tarpo::CDeviceFileTransfer::ListFiles(m_nodeMap))
            m_ui->comboBoxFile->addItem(QString::fromStdString(file.displayName),
                                        QString::fromStdString(file.symbolic));
    } catch (const GenICam::GenericException&) {
        TarpoViewer::postLogMessage(TarpoViewer::Warning, "FileAccessDialog::FillComboBox",
                                    "!! Failed to retrieve entries for enumeration FileSelector");
    }
}

bool FileAccessDialog::checkDevice()
{
    if (!cameraShutDown())
        return true;
    QMessageBox::critical(this, kTitle, "Camera is already closed.");
    close();
    return false;
}

void FileAccessDialog::showProgress(int64_t done, int64_t total)
{
    if (total < kProgressFromBytes && done < kProgressFromBytes)
        return;
    m_ui->progressBar->setVisible(total > 0);
    m_ui->labelBytes->show();
    if (total > 0) {
        m_ui->progressBar->setMaximum(int(total / Tarpo::CDeviceFileTransfer::kBlockSize) + 1);
        m_ui->progressBar->setValue(int(done / Tarpo::CDeviceFileTransfer::kBlockSize));
        m_ui->labelBytes->setText(QString("%1 of %2 bytes").arg(done).arg(total));
    } else {
        m_ui->labelBytes->setText(QString("%1 bytes").arg(done));
    }
    // The transfer runs here: the dialog keeps painting its progress, input waits.
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void FileAccessDialog::on_BtnUpload_clicked()
{
    if (!checkDevice())
        return;
    if (m_ui->comboBoxFile->currentIndex() < 0) {
        QMessageBox::critical(this, kUploadTitle, "Please select a camera file to upload.");
        return;
    }
    const QString hostFile =
        QFileDialog::getOpenFileName(this, "Open File", QDir::currentPath(), "All Files (*.*)");
    if (hostFile.isEmpty())
        return;
    QDir::setCurrent(QFileInfo(hostFile).absolutePath());
    upload(hostFile);
}

void FileAccessDialog::on_BtnDownload_clicked()
{
    if (!checkDevice())
        return;
    if (m_ui->comboBoxFile->currentIndex() < 0) {
        QMessageBox::critical(this, kDownloadTitle, "Please select a camera file to download.");
        return;
    }
    const QString hostFile =
        QFileDialog::getSaveFileName(this, "Save File As", QDir::currentPath(), "All Files (*.*)");
    if (hostFile.isEmpty())
        return;
    QDir::setCurrent(QFileInfo(hostFile).absolutePath());
    download(hostFile);
}

bool FileAccessDialog::upload(const QString& hostFile)
{
    if (!checkDevice())
        return false;
    const std::string cameraFile = m_ui->comboBoxFile->currentData().toString().toStdString();
    QApplication::setOverrideCursor(Qt::WaitCursor);
    std::string detail;
    const auto result = Tarpo::CDeviceFileTransfer::Upload(
        m_nodeMap, cameraFile, hostFile.toStdString(),
        [this](int64_t done, int64_t total) { showProgress(done, total); },
        [this] { return cameraShutDown(); }, &detail);
    QApplication::restoreOverrideCursor();
    m_ui->progressBar->hide();
    switch (result) {
    case Tarpo::CDeviceFileTransfer::Done:
        m_ui->labelBytes->setText(QString("%1 bytes uploaded").arg(QFileInfo(hostFile).size()));
        m_ui->labelBytes->show();
        return true;
    case Tarpo::CDeviceFileTransfer::HostFileUnreadable:
        QMessageBox::critical(this, kUploadTitle, "The selected file could not be read from disk.");
        break;
    case Tarpo::CDeviceFileTransfer::DeviceClosed:
        checkDevice();
        break;
    default:
        QMessageBox::critical(this, kUploadTitle,
                              "The selected file could not be written to the camera.");
    }
    return false;
}

bool FileAccessDialog::download(const QString& hostFile)
{
    if (!checkDevice())
        return false;
    const std::string cameraFile = m_ui->comboBoxFile->currentData().toString().toStdString();
    QApplication::setOverrideCursor(Qt::WaitCursor);
    std::string detail;
    const auto result = Tarpo::CDeviceFileTransfer::Download(
        m_nodeMap, cameraFile, hostFile.toStdString(),
        [this](int64_t done, int64_t total) { showProgress(done, total); },
        [this] { return cameraShutDown(); }, &detail);
    QApplication::restoreOverrideCursor();
    m_ui->progressBar->hide();
    switch (result) {
    case Tarpo::CDeviceFileTransfer::Done:
        m_ui->labelBytes->setText(QString("%1 bytes downloaded").arg(QFileInfo(hostFile).size()));
        m_ui->labelBytes->show();
        return true;
    case Tarpo::CDeviceFileTransfer::HostFileUnwritable:
        // The text users know, word for word.
        QMessageBox::critical(this, kDownloadTitle,
                              "The selected file could not be opend for writing.");
        break;
    case Tarpo::CDeviceFileTransfer::DeviceClosed:
        checkDevice();
        break;
    default:
        QMessageBox::critical(this, kDownloadTitle,
                              "The selected file could not be complete written.");
    }
    return false;
}

void FileAccessDialog::on_BtnClose_clicked()
{
    close();
}
