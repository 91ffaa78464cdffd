#include <sys/stat.h>
#include <unistd.h>

#include <tuple>

#include <gmock/gmock.h>

#include "platform/foundation/Data.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/URLSession.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace platform;

std::string text(const std::optional<Data>& data) {
    return data ? std::string(reinterpret_cast<const char*>(data->data()), data->size()) : "(none)";
}

class Fetch : public testing::Test {
 protected:
    static URL url(const std::string& address) { return URL::withString(address).value(); }
    URL web(const std::string& target) const { return url(server.address(target)); }
    URL file(const std::string& name) const { return URL::fileURLWithPath(folder / name); }

    const TemporaryFolder folder;
    LoopbackServer server{{{"/hello", LoopbackServer::answer("200 OK", "hello")},
                           {"/gone", LoopbackServer::answer("404 Not Found", "nothing here")},
                           {"/moved", "HTTP/1.1 302 Found\r\nLocation: /hello\r\n\r\n"},
                           {"/loop", "HTTP/1.1 302 Found\r\nLocation: /loop\r\n\r\n"},
                           {"/local", "HTTP/1.1 302 Found\r\nLocation: file:///etc/passwd\r\n\r\n"},
                           {"/cut", "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nhalf"},
                           {"/large", "HTTP/1.1 200 OK\r\n\r\n" + std::string(200'000, 'x')},
                           {"/slow", LoopbackServer::answer("200 OK", "slowly")}}};
};

TEST_F(Fetch, FilesAreReadWholeOrTheErrorSaysWhy) {
    const std::string bytes("a\0b\n\xff", 5);
    folder.file("a b%20.bin", bytes);
    folder.file("empty", "");
    EXPECT_EQ(text(contentsOf(file("a b%20.bin"))), bytes);
    EXPECT_EQ(text(contentsOf(file("empty"))), "");
    // Files of /proc report a size of 0.
    EXPECT_THAT(text(contentsOf(url("file:///proc/self/status"))), testing::StartsWith("Name:"));
    EXPECT_EQ(text(URLSession::fetch(file("a b%20.bin"), {}).data), bytes);

    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    ASSERT_EQ(truncate((folder / "empty").c_str(), kLargestFetch + 1), 0);
    NSError error;
    for (const auto& [from, code] : {std::pair{file("empty/inside"), 260},
                                     {file("empty"), 263},
                                     {file("pipe"), 256},
                                     {file(""), 256},
                                     {url("file:///dev/zero"), 256},
                                     {file("none.png"), 260}}) {
        EXPECT_FALSE(contentsOf(from, &error));
        EXPECT_EQ(error.code(), code) << from.absoluteString();
    }
    EXPECT_EQ(URLSession::fetch(file("none.png"), {}).error, error);
}

TEST_F(Fetch, AnswersAndFailuresOfServers) {
    const LoopbackServer silent;
    URLSession::Configuration limits;
    limits.largestResource = 100'000;
    for (const auto& [from, data, status, error] :
         {std::tuple{web("/hello"), "hello", 200, 0},
          {web("/gone"), "nothing here", 404, 0},
          {web("/moved"), "hello", 200, 0},
          {web("/cut"), "(none)", 0, -1005},
          {web("/loop"), "(none)", 0, -1007},
          {web("/local"), "(none)", 0, -1002},
          {web("/large"), "(none)", 0, -1103},
          {url("ftp://127.0.0.1/"), "(none)", 0, -1002},
          {url("relative/a.png"), "(none)", 0, -1002},
          {url(silent.address("/")), "(none)", 0, -1004}}) {
        const auto got = URLSession::fetch(from, limits);
        EXPECT_EQ(text(got.data), data) << from.absoluteString();
        EXPECT_EQ(got.error.code(), error) << from.absoluteString();
        EXPECT_EQ(got.response ? got.response->statusCode : 0, status);
    }
    EXPECT_EQ(URLSession::fetch(web("/moved"), {}).response->url, web("/hello"));
    EXPECT_EQ(URLSession::fetch(url("http://"), {}).error.domain(), "NSURLErrorDomain");
    limits.timeoutForResource = 0.02;
    EXPECT_EQ(URLSession::fetch(web("/slow"), limits).error.code(), -1001);
    server.answered.set_value();
}

TEST_F(Fetch, ASlowAnswerDelaysNoOtherAndEndsWithItsSession) {
    std::promise<URLFetch> slow, hello;
    {
        URLSession session;
        session.data(web("/slow"), [&](auto fetch) { slow.set_value(std::move(fetch)); });
        server.asked.get_future().wait();
        session.data(web("/hello"), [&](auto fetch) { hello.set_value(std::move(fetch)); });
        EXPECT_EQ(text(hello.get_future().get().data), "hello");
    }
    EXPECT_EQ(slow.get_future().get().error.code(), -999);
    server.answered.set_value();
}

}  // namespace
