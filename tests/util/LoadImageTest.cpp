#include "util/loadImage.h"

#include <fstream>
#include <future>
#include <iterator>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/uikit/UIImage.h"
#include "platform/uikit/UIImageView.h"
#include "tests/support/ConsoleLines.h"
#include "tests/support/LoopbackServer.h"

namespace {

using platform::CGSize;
using platform::RunLoop;
using platform::UIImage;
using platform::UIImageView;
using ::testing::ElementsAre;

/// red.png and red.jpg have 3 x 2 pixels; they were made without this project's code.
std::string sample(const std::string& name) {
    std::ifstream file(std::string(SAMPLES) + name, std::ios::binary);
    EXPECT_TRUE(file) << SAMPLES << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

class LoadImage : public testing::Test {
 protected:
    /// Turns the loop until the condition holds.
    template <class Condition>
    void turnUntil(Condition condition) {
        for (int turn = 0; turn < 20 && !condition(); ++turn) loop->runOnce(10);
        EXPECT_TRUE(condition());
    }

    std::promise<void> asked, answer;
    std::shared_ptr<RunLoop> loop = RunLoop::create();
    RunLoop::MakeCurrent makeCurrent{loop};
    ConsoleLines console{loop.get()};
    LoopbackServer server{[this](const std::string& target, const auto& connection) {
        const auto picture = sample("red.png");
        if (target == "/missing.png") return connection.respond("404 Not Found", "<p>nothing</p>");
        if (target == "/missing-picture") return connection.respond("404 Not Found", picture);
        if (target == "/page") return connection.respond("200 OK", "<p>no picture</p>");
        if (target == "/vanishing.png") {
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" + picture);
        } else if (target == "/slow.png") {
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(picture.size()) +
                            "\r\n\r\n" + picture.substr(0, 20));
            asked.set_value();
            answer.get_future().wait();
            connection.send(picture.substr(20));
        } else {
            connection.respond("200 OK", sample(target.substr(1)));
        }
    }};
    const std::string files = "file://" + std::string(SAMPLES);
    std::shared_ptr<UIImageView> view = std::make_shared<UIImageView>();
    std::shared_ptr<UIImage> before =
        std::make_shared<UIImage>(std::make_shared<platform::CGImage>(1, 1, std::vector{0U}));
};

TEST_F(LoadImage, LoadsOnTheMainQueueOrPrintsOneLineAndLeavesThePicture) {
    const std::string line = "UIImageView::loadFrom() : Could not ";
    const auto encode = line + "encode image data.", assign = line + "assign image.";
    using Case = std::pair<std::string, std::string>;
    for (const auto& [address, expected] :
         {Case{server.address("/red.png"), ""}, Case{server.address("/red.jpg"), ""},
          Case{files + "red.png", ""}, Case{files + "red.jpg", ""},
          Case{"", line + "encode url string : "},
          Case{"not a url", line + "encode url string : not a url"},
          Case{"relative/red.png", encode},  // only file:, http: and https:
          Case{server.address("/missing.png"), encode},
          Case{server.address("/vanishing.png"), encode}, Case{files + "none.png", encode},
          Case{server.address("/page"), assign}, Case{files + "cut.png", assign},
          Case{files + "huge.png", assign}}) {  // 16000 x 16000, empty
        view->setImage(before);
        qov::loadFrom(*view, address);
        EXPECT_EQ(view->image(), before) << "before the main queue's turn";
        loop->pump();
        EXPECT_EQ(view->image()->size(), expected.empty() ? (CGSize{3, 2}) : (CGSize{1, 1}));
        EXPECT_EQ(console.take(), std::vector<std::string>(!expected.empty(), expected)) << address;
    }
}

TEST_F(LoadImage, AViewThatIsDestroyedDuringAFetchIsNotKept) {
    const std::weak_ptr<UIImageView> weak = view;
    qov::loadFrom(*view, server.address("/red.png"));
    qov::getImageFromURLString(*view, server.address("/slow.png"));
    asked.get_future().wait();
    view.reset();
    EXPECT_TRUE(weak.expired());
    answer.set_value();
    turnUntil([&] { return !console.lines().empty(); });
    loop->pump();
    EXPECT_THAT(console.lines(), ElementsAre("Fetched image successfully"));
}

TEST_F(LoadImage, FetchesWhateverTheStatusAndRemovesThePictureForOtherData) {
    const std::string ok = "Fetched image successfully";
    const std::string lost =
        "Error Domain=NSURLErrorDomain Code=-1005 \"The network connection was lost.\"";
    answer.set_value();
    qov::getImageFromURLString(*view, "not a url");
    struct Case {
        std::string address;
        CGSize size;  // of the picture afterwards; 1 x 1 is the one before, 0 x 0 none
        std::vector<std::string> lines;
    };
    for (const auto& [address, size, lines] :
         {Case{server.address("/missing-picture"), {3, 2}, {}},
          Case{server.address("/missing.png"), {}, {}}, Case{server.address("/page"), {}, {ok}},
          Case{server.address("/slow.png"), {3, 2}, {ok}},
          Case{files + "red.jpg", {3, 2}, {}},  // a file has no HTTP status: nothing is printed
          Case{server.address("/vanishing.png"), {1, 1}, {lost}}}) {
        view->setImage(before);
        qov::getImageFromURLString(*view, address);
        turnUntil([&, left = size.width == 1] {
            return left ? !console.lines().empty() : view->image() != before;
        });
        loop->pump();
        EXPECT_EQ(console.take(), lines) << address;
        EXPECT_EQ(view->image() ? view->image()->size() : CGSize{}, size) << address;
    }
}

}  // namespace
