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
using ::testing::IsEmpty;

/// red.png and red.jpg have 3 x 2 pixels; they were made without this project's code.
std::string sample(const std::string& name) {
    std::ifstream file(std::string(SAMPLES) + name, std::ios::binary);
    EXPECT_TRUE(file) << SAMPLES << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

class LoadImage : public testing::Test {
 protected:
    void serve(const std::string& target, const LoopbackServer::Connection& connection) {
        if (target == "/missing.png") {
            connection.respond("404 Not Found", "<p>nothing here</p>");
        } else if (target == "/missing-with-picture") {
            connection.respond("404 Not Found", sample("red.png"));
        } else if (target == "/page") {
            connection.respond("200 OK", "<p>no picture</p>");
        } else if (target == "/vanishing.png") {
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n" + sample("red.png"));
        } else if (target == "/slow.png") {
            const auto picture = sample("red.png");
            connection.send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(picture.size()) +
                            "\r\n\r\n" + picture.substr(0, 20));
            asked.set_value();
            answer.get_future().wait();
            connection.send(picture.substr(20));
        } else {
            connection.respond("200 OK", sample(target.substr(1)));
        }
    }

    /// Turns the loop until the condition holds.
    template <class Condition>
    void turnUntil(Condition condition) {
        for (int turn = 0; turn < 20 && !condition(); ++turn) loop->runOnce(10);
        EXPECT_TRUE(condition());
    }
    void turnUntilPrinted() {
        turnUntil([&] { return !console.lines().empty(); });
        loop->pump();
    }

    std::promise<void> asked, answer;
    std::shared_ptr<RunLoop> loop = RunLoop::create();
    RunLoop::MakeCurrent makeCurrent{loop};
    ConsoleLines console{loop.get()};
    LoopbackServer server{
        [this](const std::string& target, const auto& connection) { serve(target, connection); }};
    std::shared_ptr<UIImageView> view = std::make_shared<UIImageView>();
    std::shared_ptr<UIImage> before =
        std::make_shared<UIImage>(std::make_shared<platform::CGImage>(1, 1, std::vector{0U}));
};

TEST_F(LoadImage, LoadsPicturesFromFilesAndServersOnTheMainQueue) {
    const std::string file = "file://" + std::string(SAMPLES);
    for (const auto& address : {server.address("/red.png"), server.address("/red.jpg"),
                                file + "red.png", file + "red.jpg"}) {
        view->setImage(nullptr);
        qov::loadFrom(*view, address);
        EXPECT_FALSE(view->image()) << "before the main queue's turn";
        loop->pump();
        ASSERT_TRUE(view->image()) << address;
        EXPECT_EQ(view->image()->size(), (CGSize{3, 2})) << address;
    }
    EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(LoadImage, WhatCannotBeLoadedIsOneLineAndLeavesThePicture) {
    const std::string couldNotEncode = "UIImageView::loadFrom() : Could not encode image data.";
    const std::string couldNotAssign = "UIImageView::loadFrom() : Could not assign image.";
    const std::string noURL = "UIImageView::loadFrom() : Could not encode url string : ";
    const std::string file = "file://" + std::string(SAMPLES);
    const std::pair<std::string, std::string> cases[] = {
        {"", noURL},
        {"not a url", noURL + "not a url"},
        {"relative/red.png", couldNotEncode},  // only file:, http: and https:
        {server.address("/missing.png"), couldNotEncode},
        {server.address("/vanishing.png"), couldNotEncode},
        {file + "none.png", couldNotEncode},
        {server.address("/page"), couldNotAssign},
        {file + "cut.png", couldNotAssign},
        {file + "huge.png", couldNotAssign},  // 16000 x 16000, with no pixels behind it
    };
    view->setImage(before);
    std::vector<std::string> expected;
    for (const auto& [address, line] : cases) {
        qov::loadFrom(*view, address);
        loop->pump();
        expected.push_back(line);
        ASSERT_EQ(console.lines(), expected) << address;
        EXPECT_EQ(view->image(), before) << address;
    }
}

TEST_F(LoadImage, AViewThatGoesWhileItsPictureComesIsNotKept) {
    const std::weak_ptr<UIImageView> weak = view;
    qov::loadFrom(*view, server.address("/red.png"));
    qov::getImageFromURLString(*view, server.address("/slow.png"));
    asked.get_future().wait();
    view.reset();
    EXPECT_TRUE(weak.expired());
    answer.set_value();
    turnUntilPrinted();
    EXPECT_THAT(console.lines(), ElementsAre("Fetched image successfully"));
}

TEST_F(LoadImage, FetchesWhateverTheStatusAndTakesThePictureAwayForOtherData) {
    view->setImage(before);
    qov::getImageFromURLString(*view, server.address("/missing-with-picture"));
    turnUntil([&] { return view->image() != before; });
    EXPECT_EQ(view->image()->size(), (CGSize{3, 2}));

    qov::getImageFromURLString(*view, server.address("/missing.png"));
    turnUntil([&] { return !view->image(); });
    EXPECT_THAT(console.lines(), IsEmpty());

    view->setImage(before);
    qov::getImageFromURLString(*view, server.address("/page"));
    turnUntil([&] { return !view->image(); });
    EXPECT_THAT(console.lines(), ElementsAre("Fetched image successfully"));

    qov::getImageFromURLString(*view, server.address("/slow.png"));
    asked.get_future().wait();
    loop->pump();
    EXPECT_FALSE(view->image());
    answer.set_value();
    turnUntil([&] { return view->image() != nullptr; });
    EXPECT_EQ(console.lines().size(), 2U);

    // A file has no HTTP status, so nothing is printed.
    view->setImage(nullptr);
    qov::getImageFromURLString(*view, "file://" + std::string(SAMPLES) + "red.jpg");
    turnUntil([&] { return view->image() != nullptr; });
    EXPECT_EQ(console.lines().size(), 2U);
}

TEST_F(LoadImage, AFetchThatFailsIsPrintedAndLeavesThePicture) {
    view->setImage(before);
    qov::getImageFromURLString(*view, "not a url");
    qov::getImageFromURLString(*view, server.address("/vanishing.png"));
    turnUntilPrinted();
    EXPECT_THAT(console.lines(),
                ElementsAre("Error Domain=NSURLErrorDomain Code=-1005 \"The network connection was "
                            "lost.\""));
    EXPECT_EQ(view->image(), before);
}

}  // namespace
