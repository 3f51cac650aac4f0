#pragma once

// The camera a grabbing command works with: the viewer's own standard-feature camera over the
// device found by name, opened, with features written in the order given; shut down and its
// device destroyed when the session ends.
// Thread: main thread; the camera's grab thread is the camera's own.

#include "acquisition/stdfeaturelistcamera.h"

#include <string>
#include <utility>
#include <vector>

class CameraSession
{
public:
    // Throws a GenICam exception when the camera is not found or cannot be opened.
    explicit CameraSession(const std::string& deviceName);
    ~CameraSession();
    CameraSession(const CameraSession&) = delete;
    CameraSession& operator=(const CameraSession&) = delete;

    StdFeatureListCamera& camera() { return m_camera; }
    // Writes a feature of the camera's node map; an unknown name is a clear failure.
    void writeFeature(const std::string& name, const std::string& value);
    void writeFeatures(const std::vector<std::pair<std::string, std::string>>& assignments);

private:
    Tarpo::CDeviceInfo m_info;
    StdFeatureListCamera m_camera;
};
