// Lists what is below a folder as XML, and deletes nothing: tree FOLDER
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <system_error>

#include "files/FileEnumerator.h"
#include "files/Folder.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/FileManagerDelegate.h"
#include "platform/foundation/URL.h"

namespace {

/// Declines every removal.
class Keeper : public platform::FileManagerDelegate {
 public:
    using FileManagerDelegate::shouldRemoveItem;
    bool shouldRemoveItem(platform::FileManager&, const platform::URL& url) override {
        std::cerr << "kept: " << url.path() << '\n';
        return false;
    }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " FOLDER\n";
        return 2;
    }
    // A folder that may be entered and not read would end the process.
    std::error_code error;
    const auto folder = std::filesystem::canonical(argv[1], error);
    if (!error) const std::filesystem::directory_iterator readable(folder, error);
    if (error) {
        std::cerr << argv[1] << ": " << error.message() << '\n';
        return 1;
    }
    platform::console::setSink({});
    Keeper keeper;
    qov::FileEnumerator enumerator;
    enumerator.defaultFileManager = std::make_shared<platform::FileManager>();
    enumerator.defaultFileManager->setDelegate(&keeper);
    enumerator.enumerate(folder.string());
    if (!enumerator.fileTree->root) return 1;
    std::cout << enumerator.fileTree->xml().substr(1) << '\n';  // it begins with a line feed
    return 0;
}
