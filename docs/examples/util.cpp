// Finds its folders, reads a four-character code, and shows a picture in a view that fills another.
// usage: example_util [ADDRESS OF A PNG OR JPEG]

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "platform/coregraphics/CGImage.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/URL.h"
#include "platform/uikit/UIImage.h"
#include "platform/uikit/UIImageView.h"
#include "util/debugprint.h"
#include "util/ensureDirectoryExists.h"
#include "util/loadImage.h"
#include "util/paths.h"
#include "util/pinToSuperviewEdges.h"
#include "util/stringValue.h"

using platform::RunLoop;
using platform::UIImageView;
using platform::UIView;

namespace {

/// A picture to start with: 4 x 4 amber pixels, as a file of the folder.
std::string ownPicture(const std::string& folder) {
    const auto url = platform::URL::fileURLWithPath(folder + "/amber.png");
    const auto png = platform::CGImage(4, 4, std::vector<std::uint32_t>(16, 0xFFFFB000)).png();
    if (auto* file = std::fopen(url.path().c_str(), "wb")) {
        std::fwrite(png.data(), 1, png.size(), file);
        std::fclose(file);
    }
    return url.absoluteString();
}

}  // namespace

int main(int argc, char** argv) {
    // Lines, work and timers of this thread go to this loop from here on.
    const auto loop = RunLoop::create();
    const RunLoop::MakeCurrent makeCurrent(loop);

    qov::getPaths();
    qov::debugprint("A component of type '" + qov::stringValue(0x61756678) + "'");

    const auto folder = platform::URL::fileURLWithPath("example-pictures", true);
    if (!qov::ensureDirectoryExists(folder)) {
        loop->pump();  // prints why
        return 1;
    }

    const auto window = std::make_shared<UIView>(platform::CGRect{{0, 0}, {320, 200}});
    const auto picture = std::make_shared<UIImageView>();
    window->addSubview(picture);
    qov::pinToSuperviewEdges(*picture);
    window->layoutIfNeeded();
    qov::loadFrom(*picture, argc > 1 ? argv[1] : ownPicture(folder.path()));

    loop->pump();  // what a host does whenever it can: prints the lines, loads the picture
    if (!picture->image()) return 1;
    const auto pixels = picture->image()->size();
    const auto points = picture->frame().size;
    std::printf("%g x %g pixels on %g x %g points\n", pixels.width, pixels.height, points.width,
                points.height);
}
