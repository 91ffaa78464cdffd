// Lists a folder: fills a tree from it, shows one page, and writes both text forms.
#include <filesystem>
#include <fstream>
#include <iostream>

#include "files/FileEnumerator.h"
#include "files/Folder.h"
#include "platform/foundation/Console.h"

int main() {
    const auto folder = std::filesystem::temp_directory_path() / "kelvane files example";
    std::filesystem::create_directories(folder / "music" / "set");
    std::ofstream(folder / "music" / "set" / "a.wav") << std::string(1234567, ' ');

    platform::console::setSink({});  // the console's lines are for diagnosis
    qov::FileEnumerator enumerator;
    enumerator.enumerate(folder.string());
    qov::FileTree& tree = *enumerator.fileTree;
    if (!tree.root) return 1;
    std::cout << tree.xml() << '\n';

    const auto music = tree.root->children.at(0);
    tree.makeExpandedPage(music->getSystemFileNumberFormatted());
    std::cout << tree.list() << '\n';
    const auto shown = tree.filelist().size();  // music, and music/set

    std::filesystem::current_path("/");  // enumerate() went into the folder
    std::filesystem::remove_all(folder);
    return shown == 2 ? 0 : 1;
}
