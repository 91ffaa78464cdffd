#include "util/loadImage.h"

#include <memory>
#include <utility>

#include "platform/dispatch/DispatchQueue.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/Data.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/URL.h"
#include "platform/foundation/URLSession.h"
#include "platform/uikit/UIImage.h"
#include "platform/uikit/UIImageView.h"
#include "util/debugprint.h"

namespace qov {
namespace {

using platform::DispatchQueue;
using platform::UIImage;
using platform::UIImageView;
using platform::URL;

void setImage(const std::weak_ptr<platform::UIView>& weakView, std::shared_ptr<UIImage> image) {
    if (const auto view = weakView.lock()) {
        static_cast<UIImageView&>(*view).setImage(std::move(image));
    }
}

}  // namespace

void loadFrom(UIImageView& view, const std::string& URLAddress) {
    const auto url = URL::withString(URLAddress);
    if (!url) {
        debugprint("UIImageView::loadFrom() : Could not encode url string : " + URLAddress);
        return;
    }
    DispatchQueue::main().async([url = *url, weakView = view.weak_from_this()] {
        const auto data = platform::contentsOf(url);
        if (!data) {
            debugprint("UIImageView::loadFrom() : Could not encode image data.");
            return;
        }
        auto image = UIImage::imageWithData(*data);
        if (!image) {
            debugprint("UIImageView::loadFrom() : Could not assign image.");
            return;
        }
        setImage(weakView, std::move(image));
    });
}

void getImageFromURLString(UIImageView& view, const std::string& imageURLString) {
    const auto url = URL::withString(imageURLString);
    if (!url) return;
    const auto show = [weakView = view.weak_from_this()](const platform::URLFetch& fetch) {
        if (!fetch.data) return platform::console::print(fetch.error.description());
        if (fetch.response && fetch.response->statusCode == 200) {
            platform::console::print("Fetched image successfully");
        }
        DispatchQueue::main().async(
            [weakView, image = UIImage::imageWithData(*fetch.data)] { setImage(weakView, image); });
    };
    platform::URLSession::shared().data(*url, show);
}

}  // namespace qov
