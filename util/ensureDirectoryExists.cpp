#include "util/ensureDirectoryExists.h"

#include "platform/foundation/FileManager.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/URL.h"
#include "util/debugprint.h"

namespace qov {

bool ensureDirectoryExists(const platform::URL& url) {
    const auto& files = platform::FileManager::defaultManager();
    if (files->fileExists(url.path())) return true;
    platform::NSError error;
    if (files->createDirectory(url, true, &error)) return true;
    debugprint("ensureDirectoryExists() : ERROR: Creating required directory '" + url.path() +
               "' failed: " + error.localizedDescription());
    return false;
}

}  // namespace qov
