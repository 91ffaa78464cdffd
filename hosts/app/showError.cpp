#include "hosts/app/showError.h"

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <optional>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "hosts/instance/product.h"
#include "platform/coregraphics/CGContext.h"
#include "platform/coregraphics/CGFont.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/NativeWindow.h"
#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIWindow.h"

namespace qov::app {

namespace {

using platform::CGColor;
using platform::CGFloat;
using platform::CGPath;
using platform::CGPoint;
using platform::CGRect;

// Points.
constexpr CGFloat width = 480, margin = 20;
constexpr CGFloat textLeft = 76;  // right of the sign
constexpr CGFloat headSize = 17, headBase = 36;
constexpr CGFloat textSize = 13, firstBase = 62, lineHeight = 19;
constexpr platform::CGSize buttonSize{84, 28};

constexpr CGFloat ground = 0.22;  // grey

const platform::CGFont& headFont() {
    static const auto font = platform::CGFont::named("HelveticaNeue-CondensedBold");
    return *font;
}
const platform::CGFont& textFont() {
    static const auto font = platform::CGFont::named("HelveticaNeue");
    return *font;
}

/// Breaks at blanks, and inside a word (a path) that is too long for a line of its own.
std::vector<std::string> wrap(const std::string& text) {
    const auto fits = [](std::string_view line) {
        return textFont().width(line) * textSize <= width - textLeft - margin;
    };
    std::vector<std::string> lines(1);
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        auto& line = lines.back();
        const auto longer = line.empty() ? word : fmt::format("{} {}", line, word);
        if (fits(longer)) {
            line = longer;
            continue;
        }
        if (!line.empty()) lines.emplace_back();
        for (const char character : word) {
            const bool beginsCharacter = (character & 0xC0) != 0x80;  // in UTF-8
            if (beginsCharacter && !fits(lines.back() + character)) lines.emplace_back();
            lines.back() += character;
        }
    }
    return lines;
}

/// The whole of the window: a sign, the message, a button.
class ErrorView : public platform::UIView {
 public:
    explicit ErrorView(std::vector<std::string> lines) : lines_(std::move(lines)) {
        setUserInteractionEnabled(false);
        const auto text = firstBase + lineHeight * static_cast<CGFloat>(lines_.size() - 1);
        setFrame({0, 0, width, text + 20 + buttonSize.height + margin});
    }
    CGRect button() const {
        return {{width - margin - buttonSize.width, bounds().maxY() - margin - buttonSize.height},
                buttonSize};
    }
    void draw(CGRect rect) override;

 private:
    std::vector<std::string> lines_;
};

void ErrorView::draw(CGRect rect) {
    auto* context = platform::UIGraphicsGetCurrentContext();
    if (!context) return;
    const auto fill = [&](const CGPath& path, const CGColor& color) {
        context->setFillColor(color);
        context->addPath(path);
        context->fillPath();
    };
    constexpr CGColor amber{1, 0.785, 0.215, 1};
    context->setFillColor(CGColor::gray(ground));
    context->fillRect(rect);

    CGPath triangle;
    triangle.moveTo({40, 22});
    triangle.addLineTo({60, 57});
    triangle.addLineTo({20, 57});
    triangle.closeSubpath();
    fill(triangle, amber);
    context->setFillColor(CGColor::gray(0.15));
    context->fillRect({38, 34, 4, 12});
    context->fillRect({38, 49, 4, 4});

    context->setFillColor(CGColor::gray(0.95));
    context->showText(std::string(hosts::product::name) + " cannot start", headFont(), headSize,
                      {textLeft, headBase});
    context->setFillColor(CGColor::gray(0.82));
    CGFloat base = firstBase;
    for (const auto& line : lines_) {
        context->showText(line, textFont(), textSize, {textLeft, base});
        base += lineHeight;
    }

    fill(CGPath::roundedRect(button(), 5), CGColor::gray(0.42));
    constexpr std::string_view label = "Close";
    context->setFillColor(CGColor::gray(0.97));
    context->showText(label, textFont(), textSize,
                      {button().midX() - textFont().width(label) * textSize / 2,
                       button().midY() + textFont().capHeight() * textSize / 2});
}

}  // namespace

bool hasTerminal() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (isatty(stream)) return true;
    const int terminal = open("/dev/tty", O_RDONLY | O_NOCTTY | O_CLOEXEC);
    if (terminal >= 0) close(terminal);
    return terminal >= 0;
}

void showError(const std::string& message, double seconds) {
    const auto loop = platform::RunLoop::create();
    const platform::RunLoop::MakeCurrent current(loop);
    const auto view = std::make_shared<ErrorView>(wrap(message));
    const auto content = std::make_shared<platform::UIWindow>(view->bounds().size);
    content->setBackgroundColor(CGColor::gray(ground));
    content->addSubview(view);
    const auto window = platform::NativeWindow::open(content,
                                                     {.title = hosts::product::name,
                                                      .minimumSize = view->bounds().size,
                                                      .application = hosts::product::identifier},
                                                     nullptr);
    if (!window) return;
    const auto end = [&] { loop->stop(); };
    window->onClose = end;
    window->onLost = end;
    window->onKey = [&](const platform::KeyStroke& stroke) {
        using platform::Key;
        if (stroke.key == Key::escape || stroke.key == Key::enter || stroke.key == Key::space)
            end();
    };
    window->routeTouch = [&](auto, platform::UITouchPhase phase, CGPoint at, auto) {
        if (phase == platform::UITouchPhase::ended && view->button().contains(at)) end();
        return std::optional(at);
    };
    window->show();
    loop->schedule(seconds, false, end);
    loop->run();
}

}  // namespace qov::app
