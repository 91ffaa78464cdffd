#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <future>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/dispatch/DispatchQueue.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/Data.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/URLSession.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using platform::contentsOf;
using platform::Data;
using platform::NSError;
using platform::RunLoop;
using platform::URL;
using platform::URLFetch;
using platform::URLSession;
namespace fs = std::filesystem;

std::string text(const std::optional<Data>& data) {
    return data ? std::string(reinterpret_cast<const char*>(data->data()), data->size()) : "(none)";
}

URL url(const std::string& address) {
    return URL::withString(address).value();
}

class FileFetch : public testing::Test {
 protected:
    NSError errorOf(const std::string& name) {
        NSError error;
        EXPECT_FALSE(contentsOf(URL::fileURLWithPath((folder / name).string()), &error)) << name;
        return error;
    }

    TemporaryFolder temporary;
    fs::path folder = temporary.path();
};

TEST_F(FileFetch, GivesTheBytesOfAFile) {
    const std::string bytes("a\0b\n\xff", 5);
    std::ofstream(folder / "a b%20.bin", std::ios::binary) << bytes;
    std::ofstream(folder / "empty");
    EXPECT_EQ(text(contentsOf(URL::fileURLWithPath((folder / "a b%20.bin").string()))), bytes);
    EXPECT_EQ(text(contentsOf(URL::fileURLWithPath((folder / "empty").string()))), "");
    // Files of /proc say that they have no bytes.
    EXPECT_THAT(text(contentsOf(url("file:///proc/self/status"))), testing::StartsWith("Name:"));
}

TEST_F(FileFetch, ReportsWhyItCannotRead) {
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    std::ofstream(folder / "huge").close();
    ASSERT_EQ(truncate((folder / "huge").c_str(), platform::kLargestFetch + 1), 0);
    EXPECT_EQ(errorOf("none.png"),
              NSError("NSCocoaErrorDomain", 260,
                      "The file “none.png” couldn’t be opened because there is no such file."));
    EXPECT_EQ(errorOf("huge/inside").code(), 260);
    EXPECT_EQ(errorOf("huge").code(), 263);
    EXPECT_EQ(errorOf("pipe").code(), 256);  // and does not wait for a writer
    EXPECT_EQ(errorOf("").code(), 256);
    NSError error;
    EXPECT_FALSE(contentsOf(url("file:///dev/zero"), &error));
    EXPECT_EQ(error.code(), 256);
}

void start(URLSession& session, const URL& from, std::promise<URLFetch>& outcome) {
    session.data(from, [&outcome](URLFetch fetch) { outcome.set_value(std::move(fetch)); });
}

URLFetch fetch(const URL& from, const URLSession::Configuration& limits = {}) {
    return URLSession::fetch(from, limits);
}

int status(const URLFetch& fetch) {
    return fetch.response ? fetch.response->statusCode.value_or(0) : -1;
}

class NetworkFetch : public testing::Test {
 protected:
    std::promise<void> asked, answer;  // outlive the server's threads
    LoopbackServer server{
        [this](const std::string& target, const LoopbackServer::Connection& connection) {
            if (target == "/hello") connection.respond("200 OK", "hello");
            if (target == "/gone") connection.respond("404 Not Found", "nothing here");
            if (target == "/moved") connection.redirect("/hello");
            if (target == "/loop") connection.redirect("/loop");
            if (target == "/local") connection.redirect("file:///etc/passwd");
            if (target == "/cut")
                connection.send("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf");
            if (target == "/garbage") connection.send("\x01\x02\x03");
            if (target == "/endless") {
                connection.send("HTTP/1.1 200 OK\r\n\r\n");
                while (connection.send(std::string(65536, 'x'))) {
                }
            }
            if (target == "/slow") {
                connection.send("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nslo");
                asked.set_value();
                answer.get_future().wait();
                connection.send("wly");
            }
        }};
};

TEST_F(NetworkFetch, DataAndResponse) {
    const auto hello = fetch(url(server.address("/hello")));
    EXPECT_EQ(text(hello.data), "hello");
    EXPECT_EQ(status(hello), 200);
    EXPECT_FALSE(hello.error);
    const auto gone = fetch(url(server.address("/gone")));
    EXPECT_EQ(text(gone.data), "nothing here");
    EXPECT_EQ(status(gone), 404);
    const auto moved = fetch(url(server.address("/moved")));
    EXPECT_EQ(text(moved.data), "hello");
    EXPECT_EQ(moved.response->url.absoluteString(), server.address("/hello"));
}

TEST_F(NetworkFetch, FailuresAreErrorsOfTheURLDomain) {
    URLSession::Configuration small;
    small.largestResource = 100'000;
    URLSession::Configuration impatient;
    impatient.timeoutForResource = 0.02;
    EXPECT_EQ(fetch(url(server.address("/cut"))).error.code(), -1005);
    EXPECT_EQ(fetch(url(server.address("/loop"))).error.code(), -1007);
    EXPECT_EQ(fetch(url(server.address("/local"))).error.code(), -1002);
    EXPECT_EQ(fetch(url(server.address("/endless")), small).error.code(), -1103);
    EXPECT_TRUE(fetch(url(server.address("/garbage"))).error);
    EXPECT_EQ(fetch(url(server.address("/slow")), impatient).error.code(), -1001);
    answer.set_value();
    EXPECT_EQ(fetch(url("ftp://127.0.0.1/")).error.code(), -1002);
    EXPECT_EQ(fetch(url("http://")).error.domain(), "NSURLErrorDomain");
    EXPECT_EQ(fetch(url("relative/a.png")).error.code(), -1002);  // no host of that name

    const LoopbackPort nobodyListens;
    EXPECT_EQ(
        fetch(url("http://127.0.0.1:" + std::to_string(nobodyListens.port()) + "/")).error.code(),
        -1004);
}

TEST_F(NetworkFetch, ContentsAreTheWholeOrAnError) {
    answer.set_value();
    EXPECT_EQ(text(contentsOf(url(server.address("/slow")))), "slowly");
    NSError error;
    EXPECT_FALSE(contentsOf(url(server.address("/gone")), &error));
    EXPECT_EQ(error, NSError("NSCocoaErrorDomain", 260, "The file “gone” couldn’t be opened."));
    EXPECT_FALSE(contentsOf(url(server.address("/cut"))));
}

TEST_F(NetworkFetch, ASlowAnswerDelaysNoOtherAndEndsWithItsSession) {
    std::promise<URLFetch> slow, hello;
    {
        URLSession session;
        start(session, url(server.address("/slow")), slow);
        asked.get_future().wait();
        start(session, url(server.address("/hello")), hello);
        EXPECT_EQ(text(hello.get_future().get().data), "hello");
    }
    EXPECT_EQ(slow.get_future().get().error.code(), -999);
    answer.set_value();
}

TEST_F(NetworkFetch, CompletionsFindTheMainQueueOfWhoAsked) {
    const auto loop = RunLoop::create();
    const RunLoop::MakeCurrent makeCurrent(loop);
    std::string got;
    URLSession::shared().data(url(server.address("/hello")), [&](const URLFetch& hello) {
        platform::DispatchQueue::main().async([&got, data = hello.data] { got = text(data); });
    });
    EXPECT_TRUE(loop->runOnce(60));
    EXPECT_EQ(got, "hello");
}

TEST_F(FileFetch, SessionsFetchFilesToo) {
    std::ofstream(folder / "a.txt") << "file";
    const auto file = fetch(URL::fileURLWithPath((folder / "a.txt").string()));
    EXPECT_EQ(text(file.data), "file");
    EXPECT_EQ(status(file), 0);
    EXPECT_EQ(fetch(URL::fileURLWithPath((folder / "b.txt").string())).error.code(), 260);
}

}  // namespace
