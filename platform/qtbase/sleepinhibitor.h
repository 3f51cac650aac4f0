#pragma once

// Keeps the machine from going to sleep while it lives: a logind "sleep:idle" inhibitor lock,
// taken over the system D-Bus. Where there is no system bus or no logind (containers, CI), it
// silently does nothing: grabbing never depends on it.
// Thread: one owner; may live on any thread (the grab thread holds one while grabbing).

#include <QString>

class SleepInhibitor
{
public:
    explicit SleepInhibitor(const QString& why);
    ~SleepInhibitor();
    SleepInhibitor(const SleepInhibitor&) = delete;
    SleepInhibitor& operator=(const SleepInhibitor&) = delete;

    bool isActive() const { return m_fd >= 0; }

private:
    int m_fd = -1; // the lock: logind keeps it while this descriptor is open
};
