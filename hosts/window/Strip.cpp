#include "hosts/window/Strip.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include "editor/panelCanvas.h"
#include "editor/panelDrawing.h"
#include "hosts/instance/Preset.h"
#include "hosts/instance/presetBank.h"
#include "hosts/output/Failure.h"
#include "hosts/output/OutputPlace.h"
#include "hosts/window/EditorWindow.h"
#include "hosts/window/HoverView.h"
#include "hosts/window/PresetList.h"
#include "hosts/window/StripItem.h"
#include "hosts/window/ValueField.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UIWindow.h"

namespace qov::hosts {

using platform::CGColor;
using platform::CGContext;
using platform::CGFloat;
using platform::CGPath;
using platform::CGPoint;
using platform::CGRect;
using platform::Key;

namespace {

// Seconds between two looks at the meter, and two changes of a text: a little less than one and
// five of the panel's redraws.
constexpr double lookTime = 0.04, textTime = 0.24;
constexpr double endless = 60;       // dB of a ratio from which one side counts as silent
constexpr double lowestLevel = -90;  // dBFS that is written as a figure
constexpr CGFloat firstRow = 8, secondRow = 52;
constexpr CGFloat rowHeight = 36;

CGRect place(CGFloat x, CGFloat y, CGFloat width) {
    return {x, y, width, rowHeight};
}

struct MeterPlace {
    const char* caption;
    CGRect box;
    StripBar::Scale scale;
    bool hasLamp;

    PanelText captionText() const {
        return {caption, boldFace, 12, {box.minX() + 10, box.minY() + 4, 0, 14}};
    }
};

constexpr CGFloat left = 12, right = 668;

const std::array<MeterPlace, 5> meterPlaces{{
    {"correlation:", place(left, firstRow, 166), {-1, 1, 0, 0.2}, false},
    {"side/mid:", place(184, firstRow, 124), {-36, 12, -36, 6}, false},
    {"balance:", place(314, firstRow, 124), {-12, 12, 0, 3}, false},
    {"in:", place(444, firstRow, 92), {-48, 0, -48, 6}, true},
    {"out:", place(542, firstRow, 92), {-48, 0, -48, 6}, true},
}};

struct Help {
    const char *name, *action;
};

constexpr std::array<Help, 5> meterHelp{{
    {"Correlation", "+1: mono, 0: unrelated, below 0: lost in mono    White: the lowest of late"},
    {"Side to mid", "How much differs between left and right, over what is common to both"},
    {"Balance", "Which side is louder, by its power"},
    {"Peak in", "Red: it was 0 dBFS or more    Click: put the lamp out"},
    {"Peak out", "Red: it was 0 dBFS or more    Click: put the lamp out"},
}};

constexpr std::array<Help, 10> buttonHelp{{
    // in the order of Strip::buttons_
    {"Set A", "Click: hear its values"},
    {"Set B", "Click: hear its values"},
    {"Copy", "Click: give the other set the values of this one"},
    {"Undo", "Click or Ctrl+Z: take the last step back"},
    {"Redo", "Click or Ctrl+Shift+Z: do that step again"},
    {"Presets", "Click: choose one from a list"},
    {"Save", "Click: keep the values as a preset of your own"},
    meterHelp[3],
    meterHelp[4],
    {"Figures, sets and presets", "Click: show or hide them"},
}};

// Texts

/// Without a sign before zero.
double rounded(double value, double steps) {
    return std::round(value * steps) / steps + 0.0;
}

std::string ratioText(double decibels, const char* below, const char* above) {
    if (std::isnan(decibels)) return "-";
    if (decibels < -endless) return below;
    if (decibels > endless) return above;
    return fmt::format("{:+.1f} dB", rounded(decibels, 10));
}

std::string balanceText(double decibels) {
    if (std::isnan(decibels)) return "-";
    if (std::abs(decibels) < 0.05) return "C";
    const char* side = decibels < 0 ? "L" : "R";
    if (std::abs(decibels) > endless) return side;
    return fmt::format("{} {:.1f} dB", side, std::abs(decibels));
}

std::string levelText(double level) {
    if (!(level > lowestLevel)) return "-";
    return std::isinf(level) ? "over" : fmt::format("{:+.1f} dB", rounded(level, 10));
}

// Pictures

void drawArrowBack(CGContext& context, const CGRect& box, const CGColor& color) {
    const auto middle = CGPoint{box.midX(), box.midY() + 2};
    stroke(context, arc(middle, 6, -70, 120), color, 1.75);
    const auto tip = around(middle, 6, -70);
    CGPath head;
    head.moveTo({tip.x - 1.4, tip.y + 4.6});
    head.addLineTo({tip.x - 3.6, tip.y - 2.6});
    head.addLineTo({tip.x + 4.0, tip.y - 0.2});
    head.closeSubpath();
    fill(context, head, color);
}

void drawArrowForth(CGContext& context, const CGRect& box, const CGColor& color) {
    context.saveGState();
    context.translateBy(2 * box.midX(), 0);
    context.scaleBy(-1, 1);
    drawArrowBack(context, box, color);
    context.restoreGState();
}

/// An open angle, pointing down or up.
void drawAngle(CGContext& context, CGPoint middle, bool isDown, const CGColor& color) {
    const CGFloat height = isDown ? 2.5 : -2.5;
    CGPath path;
    path.moveTo({middle.x - 5, middle.y - height});
    path.addLineTo({middle.x, middle.y + height});
    path.addLineTo({middle.x + 5, middle.y - height});
    stroke(context, path, color, 1.75);
}

}  // namespace

Strip::Strip(EditorWindow& window, Instance& instance, Options options)
    : window_(window),
      instance_(instance),
      options_(std::move(options)),
      session_(window, instance),
      style_(CGColor::gray(0.25), CGColor::gray(0.75)),
      brightness_(0.25),
      list_(std::make_shared<PresetList>()),
      name_(std::make_shared<ValueField>()),
      caption_(std::make_shared<CaptionView>()),
      hover_(std::make_shared<HoverView>()) {
    addMeters();
    addButtons();
    addSubview(hover_);
    for (const std::shared_ptr<UIView>& view :
         std::initializer_list<std::shared_ptr<UIView>>{list_, name_, caption_})
        window_.content().addSubview(view);
    list_->onChoose = [this](std::size_t row) { choosePreset(row); };
    refresh();
    instance_.meter().watch(isShown());
}

Strip::~Strip() {
    instance_.meter().watch(false);
    for (const std::shared_ptr<UIView>& view :
         std::initializer_list<std::shared_ptr<UIView>>{list_, name_, caption_})
        view->removeFromSuperview();
}

// Parts

void Strip::addMeters() {
    for (std::size_t each = 0; each < meters_.size(); ++each) {
        const auto& meter = meterPlaces[each];
        const auto caption = meter.captionText();
        const CGFloat from = caption.box.minX() + caption.width() + 4;
        meters_[each].text = std::make_shared<StripText>(
            CGRect(from, caption.box.minY(), meter.box.maxX() - 6 - from, 14), meter.hasLamp);
        meters_[each].bar = std::make_shared<StripBar>(
            CGRect(meter.box.minX() + 8, meter.box.maxY() - 13, meter.box.width() - 16, 8),
            meter.scale);
    }
}

std::shared_ptr<StripButton> Strip::addButton(std::shared_ptr<StripButton> button) {
    buttons_.push_back(button);
    addSubview(button);
    return button;
}

void Strip::addButtons() {
    using Ground = StripButton::Ground;
    const auto add = [&](const CGRect& at, Ground ground, std::function<void()> onPress,
                         StripButton::Paint paint = {}) {
        return addButton(
            std::make_shared<StripButton>(at, ground, std::move(onPress), std::move(paint)));
    };
    for (std::size_t set = 0; set < sets_.size(); ++set)
        sets_[set] = add(place(left + 36 * static_cast<CGFloat>(set), secondRow, 36),
                         Ground::raised, [this, set] {
                             if (session_.heardSet() != set) session_.switchSets();
                         });
    copy_ = add(place(88, secondRow, 62), Ground::raised, [this] { session_.copyToOther(); });
    undo_ = add(
        place(162, secondRow, 38), Ground::raised, [this] { session_.undo(); }, drawArrowBack);
    redo_ = add(
        place(200, secondRow, 38), Ground::raised, [this] { session_.redo(); }, drawArrowForth);
    presets_ = add(
        place(250, secondRow, 346), Ground::slot, [this] { togglePresets(); },
        [this](CGContext& context, const CGRect& box, const CGColor& color) {
            PanelText{presets_->state().text, boldFace, 12, box.insetBy(10, 0)}.draw(context,
                                                                                     color);
            drawAngle(context, {box.maxX() - 16, box.midY()}, true, color);
        });
    save_ = add(place(602, secondRow, right - 602), Ground::raised, [this] { openName(); });
    for (const std::size_t peak : {3, 4})
        add(
            meterPlaces[peak].box, Ground::bare,
            [this, peak] {
                auto& clipped = peak == 3 ? figures_.input : figures_.output;
                clipped = {};
                refresh();
            },
            [](auto&&...) {});
    fold_ = add(
        {}, Ground::bare, [this] { fold(); },
        [this](CGContext& context, const CGRect& box, const CGColor& color) {
            drawAngle(context, box.center(), isShown(), color);
        });
    for (const auto& meter : meters_) {
        addSubview(meter.text);
        addSubview(meter.bar);
    }
}

std::vector<StripItem*> Strip::items() const {
    std::vector<StripItem*> all;
    for (const auto& button : buttons_) all.push_back(button.get());
    for (const auto& meter : meters_) {
        all.push_back(meter.text.get());
        all.push_back(meter.bar.get());
    }
    return all;
}

CGFloat Strip::scale() const {
    return bounds().height() / canvasHeight();
}

CGRect Strip::windowArea(const CGRect& at) const {
    const auto corner = convertToWindow({(bounds().width() - panelCanvas.width * scale()) / 2, 0});
    return {corner.x + at.minX() * scale(), corner.y + at.minY() * scale(), at.width() * scale(),
            at.height() * scale()};
}

void Strip::layoutSubviews() {
    // The list has the size of the window that it was opened in.
    if (!(windowArea({}).origin == listCorner_)) closeList();
    const CGFloat width = panelCanvas.width;
    fold_->setPlace(isShown() ? place(right - 32, firstRow, 36)
                              : CGRect(0, 0, width, foldedHeight));
    for (auto* item : items()) {
        item->setHidden(!isShown() && item != fold_.get());
        item->layOut(scale(), (bounds().width() - width * scale()) / 2);
    }
    hover(mouse_);
    if (!name_->isOpen()) return;
    name_->setFrame(windowArea(presets_->place()));
    caption_->show(caption_->lines(), name_->frame());
}

void Strip::setBrightness(CGFloat brightness) {
    if (brightness == brightness_) return;
    brightness_ = brightness;
    style_ = PanelStyle(CGColor::gray(brightness), CGColor::gray(1 - brightness));
    for (auto* item : items()) item->setStyle(style_);
    setNeedsDisplay();
}

void Strip::draw(CGRect rect) {
    auto* context = platform::UIGraphicsGetCurrentContext();
    if (!context) return;
    const CGFloat own = scale();
    context->saveGState();
    context->scaleBy(own, own);
    const CGRect canvas{0, 0, rect.width() / own, canvasHeight()};
    fill(*context, CGPath::roundedRect(canvas.insetBy(1, 1), 8), CGColor::gray(brightness_));
    context->translateBy((canvas.width() - panelCanvas.width) / 2, 0);
    if (isShown())
        for (std::size_t each = 0; each < meters_.size(); ++each) {
            drawSlot(*context, style_, meterPlaces[each].box.insetBy(1.5, 1.5), 4, style_.edge);
            meterPlaces[each].captionText().draw(*context, style_.light);
            meters_[each].bar->drawScale(*context, style_.lightFaint);
        }
    context->restoreGState();
}

// Figures and values

void Strip::refresh() {
    nextText_ = 0;
    look(instance_.runLoop()->now());
}

/// Together with the panel's picture, so that both reach the screen in one go.
void Strip::willDraw() {
    const double now = instance_.runLoop()->now();
    if (isShown() && now >= nextLook_) look(now);
}

void Strip::look(double now) {
    nextLook_ = now + lookTime;
    figures_.add(instance_.meter().take(), now);
    showFigures();
    if (now >= nextText_) {
        nextText_ = now + textTime;
        showTexts();
    }
    const Shown values{instance_.settings(), session_.heardSet(), session_.canUndo(),
                       session_.canRedo()};
    if (shown_ == values) return;
    shown_ = values;
    showValues();
}

void Strip::showFigures() {
    const auto& f = figures_;
    const std::array values{f.correlation, f.sideToMid, f.balance, f.input.level, f.output.level};
    for (std::size_t each = 0; each < meters_.size(); ++each)
        meters_[each].bar->show(values[each], each == 0 ? f.lowestCorrelation : NAN);
    meters_[3].text->light(f.input.hasClipped);
    meters_[4].text->light(f.output.hasClipped);
}

void Strip::showTexts() {
    const auto& f = figures_;
    meters_[0].text->show(
        std::isnan(f.correlation) ? "-" : fmt::format("{:+.2f}", rounded(f.correlation, 100)));
    meters_[1].text->show(ratioText(f.sideToMid, "mono", "no mid"));
    meters_[2].text->show(balanceText(f.balance));
    meters_[3].text->show(levelText(f.input.level));
    meters_[4].text->show(levelText(f.output.level));
}

void Strip::showButton(StripButton& button, bool isEnabled, bool isOn, const std::string& text) {
    auto state = button.state();
    state.isEnabled = isEnabled;
    state.isOn = isOn;
    state.text = text;
    button.setState(state);
}

void Strip::showValues() {
    const auto heard = session_.heardSet();
    showButton(*sets_[0], true, heard == 0, "A");
    showButton(*sets_[1], true, heard == 1, "B");
    showButton(*copy_, true, false, heard == 0 ? "copy to B" : "copy to A");
    showButton(*undo_, session_.canUndo(), false);
    showButton(*redo_, session_.canRedo(), false);
    showButton(*presets_, true, list_->isOpen(), presetName());
    showButton(*save_, true, name_->isOpen(), "save");
}

/// Of the preset that the values come from, or of another that has them, else of the first with a
/// star.
std::string Strip::presetName() {
    const auto now = instance_.settings();
    std::optional<std::string> found;
    const auto lookIn = [&](const auto& presets) {
        for (const auto& preset : presets)
            if (preset.values == now.values && (!found || preset.name == now.presetName))
                found = preset.name;
    };
    lookIn(presetBank);
    if (!hasReadUsers_ && (!found || !instance_.presetNumber())) static_cast<void>(readUsers());
    if (found != now.presetName) lookIn(users_);
    chosen_ = found.value_or(now.presetName);
    return found ? chosen_ : chosen_ + " *";
}

// Folding

void Strip::fold() {
    const auto focus = focus_;
    loseKeys();
    options_.isShown = !options_.isShown;
    instance_.meter().watch(isShown());
    setNeedsLayout();
    setNeedsDisplay();
    if (options_.onFold) options_.onFold(isShown());
    setFocus(focus);
}

// Presets

/// Reads the user's presets. Returns a row for each that is none.
std::vector<PresetList::Row> Strip::readUsers() {
    hasReadUsers_ = true;
    users_.clear();
    std::vector<PresetList::Row> wrong;
    const double rate = double{instance_.audioUnit().getSamplerate()};
    for (const auto& path : Preset::paths()) {
        std::string error;
        if (auto preset = Preset::read(path, rate, &error))
            users_.push_back(std::move(*preset));
        else
            wrong.push_back({std::filesystem::path(path).stem().string(), error, false, true});
    }
    return wrong;
}

void Strip::togglePresets() {
    if (list_->isOpen()) return closeList();
    const auto wrong = readUsers();
    std::vector<PresetList::Row> rows;
    rows.reserve(presetBank.size() + users_.size() + wrong.size());
    for (const auto& preset : presetBank)
        rows.push_back({std::string(preset.name), std::string(preset.summary)});
    for (const auto& preset : users_) rows.push_back({preset.name, preset.summary, true, true});
    const auto found = std::find_if(rows.begin(), rows.end(),
                                    [&](const auto& row) { return row.name == chosen_; });
    const auto marked =
        found == rows.end() ? std::nullopt : std::optional(std::size_t(found - rows.begin()));
    rows.insert(rows.end(), wrong.begin(), wrong.end());
    list_->open(std::move(rows), marked, windowArea({left, secondRow - 4, right - left, 0}),
                scale());
    listCorner_ = windowArea({}).origin;
    updateKeys();
}

void Strip::closeList() {
    if (!list_->isOpen()) return;
    list_->close();
    updateKeys();
}

void Strip::choosePreset(std::size_t row) {
    const bool isUsers = row >= presetBank.size();
    session_.apply([&] {
        if (isUsers)
            instance_.selectPreset(users_[row - presetBank.size()]);
        else
            instance_.selectPreset(row);
    });
    updateKeys();
}

void Strip::openName() {
    replaced_.reset();
    if (!hasReadUsers_) static_cast<void>(readUsers());
    const bool isUsers = std::any_of(users_.begin(), users_.end(),
                                     [&](const auto& preset) { return preset.name == chosen_; });
    name_->open(isUsers ? chosen_ : "", windowArea(presets_->place()));
    caption_->show({{"The name of a preset of your own"}, {"Return: save    Esc: leave"}},
                   name_->frame());
    updateKeys();
    showValues();
}

void Strip::closeName() {
    if (!name_->isOpen()) return;
    name_->close();
    caption_->hide();
    updateKeys();
    showValues();
}

void Strip::enterName() {
    const auto refuse = [&](std::string why) {
        name_->refuse();
        caption_->show(
            {{std::move(why), CaptionView::Line::Kind::warning}, {"Return: save    Esc: leave"}},
            name_->frame());
    };
    Preset preset{
        .name = Preset::nameIn(name_->text()), .summary = {}, .values = instance_.values()};
    const auto path = Preset::pathOf(preset.name);
    if (preset.name.empty()) return refuse("A preset needs a name");
    if (path.empty())
        return refuse(Preset::folder().empty()
                          ? "There is no HOME to save in"
                          : "A new name, please: no number, slash or leading dot");
    for (const auto& each : users_)
        if (each.name == preset.name) preset.summary = each.summary;
    std::error_code error;
    if (std::filesystem::exists(path, error) && replaced_ != preset.name) {
        replaced_ = preset.name;
        return refuse("There is one of that name; Return replaces it");
    }
    std::filesystem::create_directories(Preset::folder(), error);
    try {
        writeOutput(path, preset.text());
    } catch (const Failure& failure) {
        return refuse(failure.what());
    }
    instance_.selectPreset(preset);  // for its name in the host's project
    std::erase_if(users_, [&](const Preset& each) { return each.name == preset.name; });
    users_.push_back(std::move(preset));
    closeName();
}

// Touches, mouse and keys

bool Strip::willTouch(CGPoint at) {
    setFocus(std::nullopt);
    if (name_->isOpen()) {
        if (name_->frame().contains(at)) return false;
        closeName();
    }
    if (!list_->isOpen() || list_->frame().contains(at) ||
        windowArea(presets_->place()).contains(at))
        return true;
    closeList();
    return false;
}

bool Strip::wheel(CGPoint at, int steps) {
    const bool isOpen = list_->isOpen();
    if (isOpen) list_->wheel(steps);
    return isOpen || frame().contains(at);
}

bool Strip::hover(std::optional<CGPoint> at) {
    mouse_ = at;
    if (at && list_->isOpen()) list_->hover(*at);
    const auto button = at ? buttonAt(*at) : std::nullopt;
    hover_->mark(button ? std::optional(buttons_[*button]->frame()) : std::nullopt, false,
                 style_.ink);
    return isMouseOver();
}

std::optional<std::size_t> Strip::buttonAt(CGPoint at) const {
    const auto own = convertFromWindow(at);
    const auto found = std::find_if(buttons_.begin(), buttons_.end(), [&](const auto& button) {
        return !button->isHidden() && button->frame().contains(own);
    });
    return found == buttons_.end() ? std::nullopt
                                   : std::optional(std::size_t(found - buttons_.begin()));
}

std::optional<std::size_t> Strip::meterAt(CGPoint at) const {
    for (std::size_t each = 0; isShown() && each < meterPlaces.size(); ++each)
        if (windowArea(meterPlaces[each].box).contains(at)) return each;
    return std::nullopt;
}

std::optional<CGRect> Strip::areaAt(CGPoint at) const {
    if (name_->isOpen() || list_->isOpen()) return std::nullopt;
    if (const auto meter = meterAt(at)) return windowArea(meterPlaces[*meter].box);
    const auto button = buttonAt(at);
    return button ? std::optional(windowArea(buttons_[*button]->place())) : std::nullopt;
}

std::vector<CaptionView::Line> Strip::helpAt(CGPoint at) const {
    const auto meter = meterAt(at);
    const auto button = buttonAt(at);
    if (!meter && !button) return {};
    const auto& help = meter ? meterHelp[*meter] : buttonHelp[*button];
    return {{help.name, CaptionView::Line::Kind::head}, {help.action}};
}

bool Strip::takesKeys() const {
    return name_->isOpen() || list_->isOpen() || focus_;
}

void Strip::loseKeys() {
    closeName();
    closeList();
    setFocus(std::nullopt);
}

void Strip::updateKeys() {
    showValues();
    window_.demandKeys(platform::KeyDemand::none);
}

void Strip::setFocus(std::optional<std::size_t> button) {
    if (button == focus_) return;
    focus_ = button;
    for (std::size_t each = 0; each < buttons_.size(); ++each) {
        auto state = buttons_[each]->state();
        state.isFocused = focus_ == each;
        buttons_[each]->setState(state);
    }
    updateKeys();
}

/// To the next button that is there, round and round.
void Strip::moveFocus(int by) {
    const auto count = buttons_.size();
    auto next = focus_.value_or(by > 0 ? count - 1 : 0);
    do next = (next + count + static_cast<std::size_t>(by)) % count;
    while (buttons_[next]->isHidden());
    setFocus(next);
}

bool Strip::key(const platform::KeyStroke& stroke) {
    if (name_->isOpen()) {
        if (stroke.key == Key::escape)
            closeName();
        else if (stroke.key == Key::enter)
            enterName();
        else
            name_->key(stroke);
        return true;
    }
    if (list_->isOpen()) {
        list_->key(stroke);
        updateKeys();
        return true;
    }
    const bool isZ = stroke.text == "z" || stroke.text == "Z";
    if (stroke.held.control && isZ && (focus_ || options_.ownsKeys)) {
        stroke.held.shift ? session_.redo() : session_.undo();
        showValues();
        return true;
    }
    if (stroke.key == Key::tab && (focus_ || isMouseOver() || options_.ownsKeys)) {
        moveFocus(stroke.held.shift ? -1 : 1);
        return true;
    }
    if (!focus_) return false;
    switch (stroke.key) {
        case Key::space:
        case Key::enter:
            buttons_[*focus_]->press();
            showValues();
            return true;
        case Key::left:
            moveFocus(-1);
            return true;
        case Key::right:
            moveFocus(1);
            return true;
        case Key::escape:
            setFocus(std::nullopt);
            return true;
        default:
            return false;
    }
}

}  // namespace qov::hosts
