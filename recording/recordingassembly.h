#pragma once

// Builds one recording from a copy of the options, as the device context assembles it: the
// writer by OutputType (AVI, or BMP/TIFF by ImageOutputType), the sampling controller by
// SamplingMethod, then the controller; and tears it down in the one safe order (resources
// released, then writer, sampling controller and controller deleted). The device context, the
// command line's record command and the tests share it.
// Thread: built and destroyed on the owner's thread; the parts keep their own contracts.

#include "recording/recordingoptions.h"
#include "tarpo/pixeltype.h"

#include <QString>

#include <memory>

class CRecordingController;
class IMediaImageController;
class IMediaWriter;

class CRecordingAssembly
{
public:
    // What the recording needs to know of the camera when it starts.
    struct SCameraFormat
    {
        Tarpo::EPixelType pixelType = Tarpo::PixelType_Undefined;
        uint32_t width = 0;
        uint32_t height = 0;
        QString serial; // names the recording's threads
    };

    // Logs "Start creating CRecordingController" and "Finished creating CRecordingController".
    // aviImageDataLimitBytes is the AVI writer's limit: 2,100,000,000 in the product.
    CRecordingAssembly(const CRecordingOptions& options, const SCameraFormat& camera,
                       int64_t aviImageDataLimitBytes = 2100000000);
    // Releases the controller's resources if the owner has not, then deletes the parts, logged
    // "Start destroying CRecordingController" / "Finished destroying CRecordingController".
    ~CRecordingAssembly();
    CRecordingAssembly(const CRecordingAssembly&) = delete;
    CRecordingAssembly& operator=(const CRecordingAssembly&) = delete;

    CRecordingController* controller() const { return m_controller.get(); }
    IMediaWriter* writer() const { return m_writer.get(); }
    IMediaImageController* samplingController() const { return m_samplingController.get(); }
    const CRecordingOptions& options() const { return m_options; }

    // The writer for OutputType and ImageOutputType. An AVI writer borrows
    // options.CompressionOptions when UseCompression is set, so `options` must outlive it.
    static std::unique_ptr<IMediaWriter> createWriter(const CRecordingOptions& options,
                                                      const SCameraFormat& camera,
                                                      int64_t aviImageDataLimitBytes);
    static std::unique_ptr<IMediaImageController>
    createSamplingController(const CRecordingOptions& options, const QString& serial);

private:
    const CRecordingOptions m_options; // the writer borrows its compression record
    std::unique_ptr<IMediaWriter> m_writer;
    std::unique_ptr<IMediaImageController> m_samplingController;
    std::unique_ptr<CRecordingController> m_controller;
};
