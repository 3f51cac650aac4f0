#pragma once

// Holds the GigE Vision discovery port on the broadcast address, so that a fake camera started
// afterwards cannot listen for broadcast discovery and only unicast reaches it, as with a camera
// in another subnet.
// Thread: test thread only.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

class DiscoveryPortBlocker
{
public:
    DiscoveryPortBlocker()
    {
        m_fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(3956);
        address.sin_addr.s_addr = htonl(INADDR_BROADCAST);
        // No SO_REUSEADDR: the camera's own bind with it must fail.
        m_bound = m_fd >= 0 &&
                  ::bind(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    ~DiscoveryPortBlocker()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    DiscoveryPortBlocker(const DiscoveryPortBlocker&) = delete;
    DiscoveryPortBlocker& operator=(const DiscoveryPortBlocker&) = delete;

    bool isBound() const { return m_bound; }

private:
    int m_fd = -1;
    bool m_bound = false;
};
