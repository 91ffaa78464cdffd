#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "editor/PanelStyle.h"
#include "hosts/instance/Instance.h"
#include "hosts/window/CaptionView.h"
#include "hosts/window/EditSession.h"
#include "hosts/window/PanelFooter.h"
#include "hosts/window/PresetList.h"
#include "hosts/window/SignalFigures.h"

namespace qov::hosts {

class EditorWindow;
class HoverView;
class StripBar;
class StripButton;
class StripItem;
class StripText;
class ValueField;

/// The strip below the panel: figures of the sound, two sets to compare, undo and redo, presets.
/// Folded away it is one button, and nothing is measured.
///
/// Tab reaches each part, Return and Space press it, Esc leaves. Main thread, with the instance's
/// run loop current.
class Strip : public PanelFooter {
 public:
    /// What its window is.
    struct Options {
        bool isShown = true;   ///< not folded away
        bool ownsKeys = true;  ///< Tab, Ctrl+Z and Ctrl+Shift+Z are its own also from elsewhere
        /// After it was folded or unfolded: the window is to be laid out.
        std::function<void(bool isShown)> onFold = {};
    };
    /// Heights on the panel's canvas.
    static constexpr platform::CGFloat shownHeight = 96, foldedHeight = 20;
    static constexpr platform::CGFloat heightIf(bool isShown) {
        return isShown ? shownHeight : foldedHeight;
    }

    /// Both outlive it.
    Strip(EditorWindow& window, Instance& instance, Options options);
    ~Strip() override;

    bool isShown() const { return options_.isShown; }
    /// Shows the figures and values of now.
    void refresh();

    platform::CGFloat canvasHeight() const override { return heightIf(isShown()); }
    void willDraw() override;
    bool takesKeys() const override;
    bool key(const platform::KeyStroke& stroke) override;
    void loseKeys() override;
    bool willTouch(platform::CGPoint at) override;
    bool wheel(platform::CGPoint at, int steps) override;
    bool hover(std::optional<platform::CGPoint> at) override;
    std::optional<platform::CGRect> areaAt(platform::CGPoint at) const override;
    std::vector<CaptionView::Line> helpAt(platform::CGPoint at) const override;
    void setBrightness(platform::CGFloat brightness) override;
    void layoutSubviews() override;
    void draw(platform::CGRect rect) override;

 private:
    /// What the buttons show.
    struct Shown {
        Settings settings;
        std::size_t heardSet;
        bool canUndo, canRedo;
        bool operator==(const Shown&) const = default;
    };
    struct Meter {
        std::shared_ptr<StripText> text;
        std::shared_ptr<StripBar> bar;
    };
    std::shared_ptr<StripButton> addButton(std::shared_ptr<StripButton> button);
    void addMeters();
    void addButtons();
    std::vector<StripItem*> items() const;
    bool isMouseOver() const { return mouse_ && frame().contains(*mouse_); }
    std::optional<std::size_t> buttonAt(platform::CGPoint at) const;
    std::optional<std::size_t> meterAt(platform::CGPoint at) const;
    platform::CGFloat scale() const;
    platform::CGRect windowArea(const platform::CGRect& place) const;

    void fold();
    void look(double now);
    void showFigures();
    void showTexts();
    void showValues();
    void showButton(StripButton& button, bool isEnabled, bool isOn, const std::string& text = {});
    std::string presetName();

    std::vector<PresetList::Row> readUsers();
    void togglePresets();
    void closeList();
    void choosePreset(std::size_t row);
    void openName();
    void enterName();
    void closeName();

    void setFocus(std::optional<std::size_t> button);
    void moveFocus(int by);
    void updateKeys();

    EditorWindow& window_;
    Instance& instance_;
    Options options_;
    EditSession session_;
    SignalFigures figures_;
    double nextLook_ = 0, nextText_ = 0;  // when the figures are due
    std::optional<Shown> shown_;
    PanelStyle style_;
    platform::CGFloat brightness_;

    std::array<Meter, 5> meters_;  // correlation, side to mid, balance, in, out
    std::vector<std::shared_ptr<StripButton>> buttons_;  // in the order of Tab
    // Of them
    std::array<std::shared_ptr<StripButton>, 2> sets_;
    std::shared_ptr<StripButton> copy_, undo_, redo_, presets_, save_, fold_;
    std::optional<std::size_t> focus_;        // in buttons_
    std::optional<platform::CGPoint> mouse_;  // in the window

    std::shared_ptr<PresetList> list_;
    platform::CGPoint listCorner_;  // of the strip when it was opened
    std::shared_ptr<ValueField> name_;
    std::shared_ptr<CaptionView> caption_;
    std::shared_ptr<HoverView> hover_;
    bool hasReadUsers_ = false;  // not before no preset of the program's own has the values
    std::vector<Preset> users_;  // as the list was opened, or saved since
    std::string chosen_;         // the preset whose name is shown
    std::optional<std::string> replaced_;  // the name of a file that Return replaces
};

}  // namespace qov::hosts
