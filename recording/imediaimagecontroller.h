#pragma once

// Decides which grabbed frames a recording keeps and when the recording ends by itself. The
// recording controller installs two callbacks: the frame callback records the frame it holds
// now (true when the frame was queued), the limit callback stops the recording.
// Thread: each implementation states where its callbacks run.

#include <boost/function.hpp>

class IMediaImageController
{
public:
    using FrameCallback = boost::function<bool()>;
    using LimitCallback = boost::function<void()>;

    virtual ~IMediaImageController() = default;

    // Called once, when the first frame of the recording arrives.
    virtual void start() = 0;
    // No more frames are to be recorded.
    virtual void stop() = 0;
    // A grabbed frame is available: the recording controller holds it now.
    virtual void onNewFrame() = 0;
    // Whether the recording ends by itself.
    virtual bool hasLimit() const = 0;
    virtual void setFrameCallback(const FrameCallback& callback) = 0;
    virtual void clearFrameCallback() = 0;
    virtual void setLimitCallback(const LimitCallback& callback) = 0;
    virtual void clearLimitCallback() = 0;
};
