#pragma once

// A private X server for tests that look at real windows: Xvfb picks a free display and writes
// its number to our pipe once it accepts connections (-displayfd), so parallel runs never
// collide. The server ends with the object.

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

extern char** environ;

struct XvfbServer
{
    pid_t pid = -1;
    std::string display;

    ~XvfbServer()
    {
        if (pid > 0 && kill(pid, SIGTERM) == 0)
            waitpid(pid, nullptr, 0);
    }

    bool start()
    {
        int fds[2];
        if (pipe(fds) != 0)
            return false;
        const std::string fd = std::to_string(fds[1]);
        const char* argv[] = {"Xvfb",         "-displayfd", fd.c_str(), "-screen", "0",
                              "1600x1200x24", "-nolisten",  "tcp",      nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addclose(&actions, fds[0]);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
        if (posix_spawnp(&pid, "Xvfb", &actions, nullptr, const_cast<char**>(argv), environ) != 0)
            pid = -1;
        posix_spawn_file_actions_destroy(&actions);
        close(fds[1]);
        pollfd ready{fds[0], POLLIN, 0};
        char c = 0;
        while (pid > 0 && poll(&ready, 1, 20000) > 0 && read(fds[0], &c, 1) == 1 && c != '\n')
            display += c;
        close(fds[0]);
        display.insert(0, ":");
        return display.size() > 1;
    }
};
