#pragma once

#include <memory>
#include <string>

#include "platform/uikit/NSCoder.h"

namespace platform {

class UIView;

/// Owns a view, which its first use creates. Belongs to a shared pointer. Main thread.
class UIViewController : public std::enable_shared_from_this<UIViewController> {
 public:
    /// nibName: the interface to load; empty for the class's own.
    explicit UIViewController(std::string nibName = {}) : nibName_(std::move(nibName)) {}
    explicit UIViewController(const NSCoder& /*coder*/) {}
    UIViewController(const UIViewController&) = delete;
    UIViewController& operator=(const UIViewController&) = delete;
    virtual ~UIViewController();

    const std::string& nibName() const { return nibName_; }

    /// Loads the view if that has not been done, and then calls viewDidLoad().
    const std::shared_ptr<UIView>& view();
    void setView(std::shared_ptr<UIView> view);
    bool isViewLoaded() const { return view_ != nullptr; }
    void loadViewIfNeeded();

    /// Makes the view and hands it to setView(): here, an empty one.
    virtual void loadView();
    virtual void viewDidLoad() {}
    /// After each layout pass of the view.
    virtual void viewDidLayoutSubviews() {}

 private:
    std::string nibName_;
    std::shared_ptr<UIView> view_;
};

}  // namespace platform
