#include "files/FileEnumerator.h"

#include "files/Folder.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/URL.h"
#include "platform/foundation/fatalError.h"

namespace qov {
namespace {

using platform::console::print;

bool isLitter(const std::string& path) {
    return path.find("__MACOSX") != path.npos || path.find(".DS_Store") != path.npos;
}

}  // namespace

FileEnumerator::FileEnumerator()
    : defaultFileManager(platform::FileManager::defaultManager()),
      fileManager(std::make_shared<platform::FileManager>()),
      fileTree(std::make_shared<FileTree>()) {
    fileManager->setDelegate(this);
}

FileEnumerator::~FileEnumerator() {
    if (fileManager->delegate() == this) fileManager->setDelegate(nullptr);
}

void FileEnumerator::enumerate(const std::string& path) {
    if (!fileManager->changeCurrentDirectoryPath(path)) {
        print("Error: Could not set current path '" + path + "' for the file manager.");
        return;
    }
    fileTree->basePath = fileManager->currentDirectoryPath();
    const auto enumerator = fileManager->enumerator(path);
    if (!enumerator) platform::fatalError("The folder '" + path + "' cannot be enumerated.");
    createRoot(path);
    if (!fileTree->root || !enumerator->directoryAttributes())
        platform::fatalError("The attributes of the folder '" + path + "' are missing.");
    fileTree->root->attributes = *enumerator->directoryAttributes();

    while (const auto relative = enumerator->nextObject()) {
        if (isLitter(*relative))
            removeLitter(path, *relative);
        else
            add(*relative, enumerator->level());
    }
    // The end of the walk is an object, too, and not a path.
    print("WARNUNG: Unbekannter Typ des Dateiobjektes oder <nil>.");
}

void FileEnumerator::createRoot(const std::string& path) {
    fileTree->root = nullptr;
    bool isDirectory = false;
    const bool exists = fileManager->fileExists(path, &isDirectory);
    if (!isDirectory) platform::fatalError("'" + path + "' is not a folder.");
    auto folder = std::make_shared<Folder>();
    folder->setRootpath(path);
    folder->_expanded = true;
    folder->exists = exists;
    folder->isDirectory = true;
    if (describe(*folder, path)) fileTree->root = std::move(folder);
}

void FileEnumerator::removeLitter(const std::string& path, const std::string& relative) {
    platform::NSError error;
    const auto item = platform::URL::fileURLWithPath(path + "/" + relative);
    if (!defaultFileManager->removeItem(item, &error)) print(error.localizedDescription());
}

void FileEnumerator::add(const std::string& relative, std::int64_t level) {
    const auto filePath = fileTree->root->rootpath() + "/" + relative;
    bool isDirectory = false;
    const bool exists = fileManager->fileExists(filePath, &isDirectory);
    const auto entry = isDirectory ? std::make_shared<Folder>() : std::make_shared<File>();
    entry->shareRootpath(*fileTree->root);
    entry->setSubpath(relative);
    entry->exists = exists;
    entry->isDirectory = isDirectory;
    fileTree->findParent(entry);
    describe(*entry, filePath);
    fileTree->append(entry);

    if (entry->_indent != level - 1)
        print("WARNUNG: Die Verschachtelungstiefe unterscheidet sich! ( indent: " +
              std::to_string(entry->_indent) + " / level: " + std::to_string(level - 1) + " )");
    entry->_indent = level - 1;
}

bool FileEnumerator::describe(File& entry, const std::string& filePath) {
    entry.isWritable = fileManager->isWritableFile(filePath);
    entry.isReadeble = fileManager->isReadableFile(filePath);
    entry.isExecutable = fileManager->isExecutableFile(filePath);
    entry.isDeleteble = fileManager->isDeletableFile(filePath);
    platform::NSError error;
    auto attributes = fileManager->attributesOfItem(filePath, &error);
    if (!attributes) {
        print(error.description());
        entry.uid = platform::Number(-1);
        return false;
    }
    entry.attributes = std::move(*attributes);
    entry.uid = entry.getSystemFileNumber();
    return true;
}

}  // namespace qov
