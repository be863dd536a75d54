// Fuzz target: raw bytes from a client, over a socket pair, into the HTTP server library, with an
// application that answers every delivered request at once.
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "FuzzSupport.h"
#include "HttpServer.h"

using ipsvr::HttpServer;
using ipsvr::Reply;

namespace {

// How long the target waits for the server to take more bytes, and for more of its answer. A
// complete request is answered within milliseconds; an incomplete one is answered never (the
// server keeps a half-closed connection until its own deadline), so the wait for it is short.
constexpr int kAnswerWaitMs = 2000;
constexpr int kQuietMs = 50;

HttpServer& server() {
    static HttpServer* instance = [] {
        static HttpServer* self = nullptr;
        self = new HttpServer(
            [](unsigned int clientId, const char* body) {
                // Alternate between an answer and a refusal, as the service does.
                Reply reply = (std::strlen(body) % 2 == 0) ? Reply::answer("{\"result\":{}}")
                                                           : Reply::refusal("");
                self->respond(clientId, reply);
                return true;
            },
            std::chrono::milliseconds(kAnswerWaitMs));
        if (self->start(0) != 0) {
            abort();
        }
        return self;
    }();
    return *instance;
}

// Sends everything and half-closes, then reads until the server closes or goes quiet.
void exchange(int socket, const uint8_t* data, size_t size) {
    size_t sent = 0;
    char sink[4096];
    while (sent < size) {
        pollfd ready{socket, POLLOUT | POLLIN, 0};
        if (poll(&ready, 1, kAnswerWaitMs) <= 0) {
            return;
        }
        if (ready.revents & POLLIN) {
            if (read(socket, sink, sizeof(sink)) <= 0) {
                return;  // answered and closed before the rest was sent
            }
        }
        if (ready.revents & POLLOUT) {
            ssize_t n = send(socket, data + sent, size - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (n < 0) {
                return;
            }
            sent += static_cast<size_t>(n);
        }
    }
    shutdown(socket, SHUT_WR);
    for (;;) {
        pollfd ready{socket, POLLIN, 0};
        if (poll(&ready, 1, kQuietMs) <= 0 || read(socket, sink, sizeof(sink)) <= 0) {
            return;
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) {
        abort();
    }
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(40000);
    peer.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (!server().addConnection(pair[0], reinterpret_cast<sockaddr*>(&peer), sizeof(peer))) {
        close(pair[1]);
        return 0;
    }
    exchange(pair[1], data, size);
    close(pair[1]);
    return 0;
}
