#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <future>
#include <map>
#include <string>
#include <thread>
#include <vector>

/// A server on 127.0.0.1 that answers each connection's first request, then closes it. Of the
/// target "/slow" it sends a part, sets `asked`, and waits for `answered` before the rest.
class LoopbackServer {
 public:
    /// Answers by target ("/a.png"), with header. Without any, nothing listens at the port.
    explicit LoopbackServer(std::map<std::string, std::string> answers = {})
        : answers_(std::move(answers)), socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        setenv("no_proxy", "*", 1);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        if (bind(socket_, generic, size) != 0) std::abort();
        getsockname(socket_, generic, &size);
        base_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
        if (!answers_.empty() && listen(socket_, 16) != 0) std::abort();
        acceptor_ = std::thread([this] {
            for (int one = 0; (one = accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;)
                connections_.push_back(std::async(std::launch::async, [this, one] {
                    respond(one);
                    close(one);
                }));
        });
    }
    ~LoopbackServer() {
        shutdown(socket_, SHUT_RDWR);
        acceptor_.join();
        connections_.clear();
        close(socket_);
    }

    std::string address(const std::string& target) const { return base_ + target; }
    /// An answer with its header: status is such as "200 OK".
    static std::string answer(const std::string& status, const std::string& body) {
        return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) +
               "\r\n\r\n" + body;
    }

    std::promise<void> asked, answered;

 private:
    void respond(int connection) {
        const auto send = [connection](std::string_view bytes) {
            while (!bytes.empty()) {
                const auto sent = ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
                if (sent <= 0) return;  // the other side is gone
                bytes.remove_prefix(static_cast<std::size_t>(sent));
            }
        };
        std::string request(4096, '\0');
        if (recv(connection, request.data(), request.size(), 0) <= 0) return;
        const auto target = request.substr(4, request.find(' ', 4) - 4);  // behind "GET "
        const std::string_view text = answers_.at(target);
        if (target != "/slow") return send(text);
        send(text.substr(0, text.size() - 2));
        asked.set_value();
        answered.get_future().wait();
        send(text.substr(text.size() - 2));
    }

    std::map<std::string, std::string> answers_;
    int socket_;
    std::string base_;
    std::thread acceptor_;
    std::vector<std::future<void>> connections_;
};
