#include "platform/uikit/UIViewController.h"

#include "platform/uikit/UIView.h"

namespace platform {

UIViewController::~UIViewController() {
    if (view_) view_->setViewController(nullptr);
}

const std::shared_ptr<UIView>& UIViewController::view() {
    loadViewIfNeeded();
    return view_;
}

void UIViewController::setView(std::shared_ptr<UIView> view) {
    if (view_) view_->setViewController(nullptr);
    view_ = std::move(view);
    if (view_) view_->setViewController(this);
}

void UIViewController::loadViewIfNeeded() {
    if (view_) return;
    loadView();
    viewDidLoad();
}

void UIViewController::loadView() {
    setView(std::make_shared<UIView>());
}

}  // namespace platform
