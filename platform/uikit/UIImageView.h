#pragma once

#include <memory>

#include "platform/uikit/UIView.h"

namespace platform {

class UIImage;

/// Shows a picture, stretched to its bounds. Ignores touches until setUserInteractionEnabled(true).
class UIImageView : public UIView {
 public:
    explicit UIImageView(CGRect frame = {});

    /// May be null.
    const std::shared_ptr<UIImage>& image() const { return image_; }
    void setImage(std::shared_ptr<UIImage> image);
    void draw(CGRect rect) override;

 private:
    std::shared_ptr<UIImage> image_;
};

}  // namespace platform
