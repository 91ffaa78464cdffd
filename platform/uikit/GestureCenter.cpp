#include "platform/uikit/GestureCenter.h"

#include <algorithm>

#include "platform/uikit/UIGestureRecognizer.h"
#include "platform/uikit/UIPinchGestureRecognizer.h"
#include "platform/uikit/UIView.h"

namespace platform {
namespace {

using State = UIGestureRecognizerState;

bool shareTouch(const UIGestureRecognizer& a, const UIGestureRecognizer& b) {
    return std::any_of(a.touches().begin(), a.touches().end(), [&](const auto& touch) {
        return std::find(b.touches().begin(), b.touches().end(), touch) != b.touches().end();
    });
}

}  // namespace

void GestureCenter::deliver(const std::shared_ptr<UITouch>& touch) {
    if (touch->phase() == UITouchPhase::began) {
        ++touchesDown_;
        for (auto view = touch->view().get(); view; view = view->superview())
            for (const auto& recognizer : view->gestureRecognizers())
                if (std::find(players_.begin(), players_.end(), recognizer) == players_.end())
                    players_.push_back(recognizer);
    }
    // A target may take views and recognisers away, so the list is walked as a copy.
    const auto players = players_;
    for (const auto& player : players) {
        switch (touch->phase()) {
            case UITouchPhase::began:
                player->takeTouch(touch, *this);
                break;
            case UITouchPhase::moved:
                player->moveTouch(touch);
                break;
            case UITouchPhase::ended:
                player->dropTouch(touch, false);
                break;
            case UITouchPhase::cancelled:
                player->dropTouch(touch, true);
                break;
        }
    }
    const bool up =
        touch->phase() == UITouchPhase::ended || touch->phase() == UITouchPhase::cancelled;
    if (up) --touchesDown_;
    settle();
}

void GestureCenter::deliverPinch(const std::shared_ptr<UIView>& hit, UITouchPhase phase,
                                 CGPoint location, CGFloat scale) {
    if (phase == UITouchPhase::began) {
        cancelPinch();  // one whose end did not come
        pinch_.reset();
        for (auto view = hit.get(); view && pinch_.expired(); view = view->superview())
            for (const auto& recognizer : view->gestureRecognizers())
                if (std::dynamic_pointer_cast<UIPinchGestureRecognizer>(recognizer) &&
                    recognizer->isEnabled())
                    pinch_ = recognizer;
        const auto pinch = pinch_.lock();
        if (pinch && std::find(players_.begin(), players_.end(), pinch) == players_.end())
            players_.push_back(pinch);
    }
    if (const auto pinch = std::dynamic_pointer_cast<UIPinchGestureRecognizer>(pinch_.lock()))
        pinch->takeScale(phase, location, scale, *this);
    settle();
}

void GestureCenter::cancelPinch() {
    if (const auto pinch = pinch_.lock(); pinch && pinch->touches().empty()) pinch->cancel();
    settle();
}

std::optional<double> GestureCenter::nextDeadline() const {
    std::optional<double> next;
    for (const auto& player : players_)
        if (player->deadline() && (!next || *player->deadline() < *next)) next = player->deadline();
    return next;
}

void GestureCenter::timePassed(double now) {
    const auto players = players_;
    for (const auto& player : players) player->timePassed(now);
    settle();
}

bool GestureCenter::mayBegin(const UIGestureRecognizer& candidate) {
    for (const auto& other : players_)
        if (other.get() != &candidate && other->isActive()) return false;
    // One that has to fail first decides that for itself.
    const auto first = candidate.requiredToFail().lock();
    for (const auto& other : players_)
        if (other.get() != &candidate && other != first && !other->isWaiting() &&
            shareTouch(*other, candidate))
            other->fail();
    return true;
}

void GestureCenter::settle() {
    const auto players = players_;
    for (const auto& player : players) {
        if (!player->isWaiting()) continue;
        const auto first = player->requiredToFail().lock();
        if (!first || first->state() == State::failed || first->state() == State::cancelled)
            player->stopWaiting(true);
        else if (first->state() == State::ended)
            player->stopWaiting(false);
    }
    if (touchesDown_ > 0) return;
    std::erase_if(players_, [](const auto& player) {
        const bool isPending = player->state() == State::possible && player->deadline();
        if (player->isWaiting() || player->isActive() || isPending) return false;
        player->reset();
        return true;
    });
}

}  // namespace platform
