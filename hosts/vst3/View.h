#pragma once

#include <travesty/view.h>

#include <cstdint>
#include <memory>

#include "hosts/vst3/Interface.h"

namespace qov::hosts {
class EditorWindow;
class Instance;
}  // namespace qov::hosts

namespace qov::hosts::vst3 {

class Controller;

/// The editor in a host's X11 window. It keeps the effect alive, so that either may be let go of
/// first. Main thread.
class View final : public Unknown {
 public:
    View(Unknown& effect, Controller& controller, Instance& instance);
    ~View() override;

    v3_plugin_view** face() { return reinterpret_cast<v3_plugin_view**>(&view_); }
    void close();

 private:
    void* find(const std::uint8_t* id) noexcept override;

    v3_result isPlatformTypeSupported(const char* type);
    v3_result attached(void* parent, const char* type);
    v3_result removed();
    v3_result onWheel(float distance);
    v3_result onKey(std::int16_t character, std::int16_t code, std::int16_t modifiers);
    v3_result getSize(v3_view_rect* rect);
    v3_result onSize(v3_view_rect* rect);
    v3_result onFocus(v3_bool hasFocus);
    v3_result setFrame(v3_plugin_frame** frame);
    v3_result canResize();
    v3_result checkSizeConstraint(v3_view_rect* rect);
    v3_result setContentScaleFactor(float factor);
    v3_result findParameter(std::int32_t x, std::int32_t y, v3_param_id* id);

    bool openWindow();
    void closeWindow();

    static const v3_plugin_view_cpp viewTable;
    static const v3_plugin_view_content_scale_cpp scaleTable;
    static const v3_plugin_view_parameter_finder_cpp finderTable;

    Face view_{&viewTable, this, this};
    Face scaleFace_{&scaleTable, this, this};
    Face finder_{&finderTable, this, this};

    Unknown& effect_;
    Controller& controller_;
    Instance& instance_;
    Held<v3_plugin_frame> frame_;
    double scale_ = 1;             // pixels a point
    std::int32_t width_, height_;  // pixels
    std::uint64_t parent_ = 0;     // 0 while not attached
    std::unique_ptr<EditorWindow> window_;
};

}  // namespace qov::hosts::vst3
