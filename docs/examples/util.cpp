// Finds its folders, reads a four-character code, and shows a picture in a view that fills another.
// usage: example_util [ADDRESS OF A PNG OR JPEG]
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <thread>
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

int main(int argc, char** argv) {
    qov::getPaths();
    std::thread([] {
        qov::debugprint("An effect has the type '" + qov::stringValue(0x61756678) + "'.");
    }).join();

    // A picture of 4 x 4 amber pixels to start with.
    const auto folder = std::filesystem::temp_directory_path() / "kelvane util example";
    if (!qov::ensureDirectoryExists(platform::URL::fileURLWithPath(folder.string()))) return 1;
    const auto file = platform::URL::fileURLWithPath((folder / "amber.png").string());
    const auto png = platform::CGImage(4, 4, std::vector<std::uint32_t>(16, 0xFFFFB000)).png();
    std::ofstream(file.path(), std::ios::binary)
        .write(reinterpret_cast<const char*>(png.data()), static_cast<std::streamsize>(png.size()));

    const auto window = std::make_shared<platform::UIView>(platform::CGRect{{0, 0}, {320, 200}});
    const auto picture = std::make_shared<platform::UIImageView>();
    window->addSubview(picture);
    qov::pinToSuperviewEdges(*picture);
    window->layoutIfNeeded();
    qov::loadFrom(*picture, argc > 1 ? argv[1] : file.absoluteString());

    platform::RunLoop::main().pump();  // prints the lines and loads the picture
    std::filesystem::remove_all(folder);
    if (!picture->image()) return 1;
    const auto pixels = picture->image()->size();
    const auto points = picture->frame().size;
    std::printf("%g x %g pixels on %g x %g points\n", pixels.width, pixels.height, points.width,
                points.height);
}
