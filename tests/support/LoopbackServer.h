#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

/// A port of 127.0.0.1 that this process holds and on which nothing listens.
class LoopbackPort {
 public:
    LoopbackPort() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        if (bind(socket_, generic, size) != 0) std::abort();
        getsockname(socket_, generic, &size);
        port_ = ntohs(address.sin_port);
    }
    ~LoopbackPort() { close(socket_); }
    LoopbackPort(const LoopbackPort&) = delete;
    LoopbackPort& operator=(const LoopbackPort&) = delete;

    int descriptor() const { return socket_; }
    int port() const { return port_; }

 private:
    int socket_;
    int port_ = 0;
};

/// A server on 127.0.0.1 that answers each connection's first request by its handler, then closes.
class LoopbackServer {
 public:
    class Connection {
     public:
        explicit Connection(int socket) : socket_(socket) {}

        /// Sends bytes as they are. False once the other side is gone.
        bool send(std::string_view bytes) const {
            while (!bytes.empty()) {
                const auto sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
                if (sent <= 0) return false;
                bytes.remove_prefix(static_cast<std::size_t>(sent));
            }
            return true;
        }
        void respond(std::string_view status, std::string_view body,
                     std::string_view header = {}) const {
            send("HTTP/1.1 " + std::string(status) +
                 "\r\nContent-Length: " + std::to_string(body.size()) +
                 "\r\nConnection: close\r\n" + std::string(header) + "\r\n" + std::string(body));
        }
        void redirect(const std::string& location) const {
            respond("302 Found", "", "Location: " + location + "\r\n");
        }

     private:
        int socket_;
    };
    /// Called on a thread of the connection's own with the request's target ("/a.png").
    using Handler = std::function<void(const std::string& target, const Connection&)>;

    explicit LoopbackServer(Handler handler) : handler_(std::move(handler)) {
        setenv("no_proxy", "*", 1);
        if (listen(port_.descriptor(), 16) != 0) std::abort();
        acceptor_ = std::thread([this] {
            for (int socket = 0;
                 (socket = accept4(port_.descriptor(), nullptr, nullptr, SOCK_CLOEXEC)) >= 0;)
                connections_.emplace_back([this, socket] {
                    answer(socket);
                    close(socket);
                });
        });
    }
    ~LoopbackServer() {
        shutdown(port_.descriptor(), SHUT_RDWR);
        acceptor_.join();
        for (auto& connection : connections_) connection.join();
    }

    std::string address(std::string_view target) const {
        return "http://127.0.0.1:" + std::to_string(port_.port()) + std::string(target);
    }

 private:
    void answer(int socket) const {
        std::string request;
        char buffer[1024];
        while (request.find("\r\n\r\n") == std::string::npos) {
            const auto count = recv(socket, buffer, sizeof buffer, 0);
            if (count <= 0) return;
            request.append(buffer, static_cast<std::size_t>(count));
        }
        const auto start = request.find(' ') + 1;
        handler_(request.substr(start, request.find(' ', start) - start), Connection(socket));
    }

    Handler handler_;
    LoopbackPort port_;
    std::thread acceptor_;
    std::vector<std::thread> connections_;
};
