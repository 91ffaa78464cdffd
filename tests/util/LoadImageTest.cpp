#include "util/loadImage.h"

#include <fstream>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

#include "platform/uikit/UIImage.h"
#include "platform/uikit/UIImageView.h"
#include "tests/support/ConsoleLines.h"
#include "tests/support/LoopbackServer.h"

namespace {

using namespace platform;

class LoadImage : public testing::Test {
 protected:
    /// Turns the loop until the condition holds.
    template <class Condition>
    void turnUntil(Condition condition) {
        for (int turn = 0; turn < 20 && !condition(); ++turn) loop->runOnce(10);
        EXPECT_TRUE(condition());
    }

    std::shared_ptr<RunLoop> loop = RunLoop::create();
    RunLoop::MakeCurrent makeCurrent{loop};
    ConsoleLines console{loop.get()};
    /// red.png and red.jpg have 3 x 2 pixels; they were made without this project's code.
    const std::string picture =
        (std::ostringstream() << std::ifstream(SAMPLES "red.png").rdbuf()).str();
    LoopbackServer server{{{"/red.png", LoopbackServer::answer("200 OK", picture)},
                           {"/slow", LoopbackServer::answer("200 OK", picture)},
                           {"/missing", LoopbackServer::answer("404 Not Found", picture)},
                           {"/page", LoopbackServer::answer("200 OK", "<p>no picture</p>")},
                           {"/cut", "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" + picture}}};
    const std::string files = "file://" + std::string(SAMPLES);
    std::shared_ptr<UIImageView> view = std::make_shared<UIImageView>();
    std::shared_ptr<UIImage> before =
        std::make_shared<UIImage>(std::make_shared<CGImage>(1, 1, std::vector{0U}));
};

TEST_F(LoadImage, LoadsOnTheMainQueueOrPrintsOneLineAndLeavesThePicture) {
    const std::string line = "UIImageView::loadFrom() : Could not ";
    const auto encode = line + "encode image data.", assign = line + "assign image.";
    using Case = std::pair<std::string, std::string>;
    for (const auto& [address, expected] :
         {Case{server.address("/red.png"), ""}, Case{files + "red.png", ""},
          Case{files + "red.jpg", ""}, Case{"", line + "encode url string : "},
          Case{"not a url", line + "encode url string : not a url"},
          Case{"relative/red.png", encode},  // only file:, http: and https:
          Case{server.address("/missing"), encode}, Case{server.address("/cut"), encode},
          Case{files + "none.png", encode}, Case{server.address("/page"), assign},
          Case{files + "cut.png", assign}, Case{files + "huge.png", assign}}) {  // 16000 x 16000
        view->setImage(before);
        qov::loadFrom(*view, address);
        EXPECT_EQ(view->image(), before) << "before the main queue's turn";
        loop->pump();
        EXPECT_EQ(view->image()->size(), expected.empty() ? (CGSize{3, 2}) : (CGSize{1, 1}));
        EXPECT_EQ(console.taken(), expected) << address;
    }
}

TEST_F(LoadImage, AViewThatIsDestroyedDuringAFetchIsNotKept) {
    const std::weak_ptr<UIImageView> weak = view;
    qov::loadFrom(*view, server.address("/red.png"));
    qov::getImageFromURLString(*view, server.address("/slow"));
    server.asked.get_future().wait();
    view.reset();
    EXPECT_TRUE(weak.expired());
    server.answered.set_value();
    turnUntil([&] { return !console.lines().empty(); });
    loop->pump();
    EXPECT_EQ(console.taken(), "Fetched image successfully");
}

TEST_F(LoadImage, FetchesWhateverTheStatusAndRemovesThePictureForOtherData) {
    const std::string ok = "Fetched image successfully";
    const std::string lost =
        "Error Domain=NSURLErrorDomain Code=-1005 \"The network connection was lost.\"";
    qov::getImageFromURLString(*view, "not a url");
    // The picture's size afterwards: 1 x 1 is the one before, 0 x 0 none.
    for (const auto& [address, size, lines] :
         {std::tuple{server.address("/missing"), CGSize{3, 2}, std::string()},
          {server.address("/page"), {}, ok},
          {server.address("/red.png"), {3, 2}, ok},
          {files + "red.jpg", {3, 2}, ""},  // a file has no HTTP status: nothing is printed
          {server.address("/cut"), {1, 1}, lost}}) {
        view->setImage(before);
        qov::getImageFromURLString(*view, address);
        turnUntil([&, left = size.width == 1] {
            return left ? !console.lines().empty() : view->image() != before;
        });
        EXPECT_EQ(console.taken(), lines) << address;
        EXPECT_EQ(view->image() ? view->image()->size() : CGSize{}, size) << address;
    }
}

}  // namespace
