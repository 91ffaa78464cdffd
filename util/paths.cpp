#include "util/paths.h"

#include "platform/foundation/Bundle.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/fatalError.h"
#include "util/debugprint.h"

namespace qov {
namespace {

using platform::FileManager;

platform::URL userDocuments() {
    const auto urls =
        FileManager::defaultManager()->urls(FileManager::SearchPathDirectory::documentDirectory,
                                            FileManager::SearchPathDomain::userDomain);
    if (urls.empty()) platform::fatalError("The user has no document folder.");
    return urls.front();
}

// The lines name the editor's controller: log readers search for these words.
void report(const char* folder, const std::optional<platform::URL>& url) {
    const std::string name = std::string("Audio Unit's ") + folder + " path is";
    safeprint(url ? "AudioUnitViewController::getPaths() : " + name + ": " + url->path()
                  : "AudioUnitViewController::getPaths() : ERROR: " + name + " nil.");
}

}  // namespace

std::optional<platform::URL> documentsURL;
std::optional<platform::URL> resourcesURL;
std::optional<platform::URL> sharedURLAudio, sharedURLMIDI;

void getPaths() {
    documentsURL = userDocuments();
    report("documents", documentsURL);
    resourcesURL = platform::Bundle::main().resourceURL();
    report("resources", resourcesURL);
}

}  // namespace qov
