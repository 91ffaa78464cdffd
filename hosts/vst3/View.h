#pragma once

#include <travesty/view.h>

#include <cstdint>

#include "hosts/vst3/Interface.h"
#include "hosts/window/EmbeddedEditor.h"

namespace qov::hosts::vst3 {

class Plugin;

/// The editor in a host's X11 window, drawn on the host's run loop. It has a reference to the
/// plug-in, so that the host may release either first. Main thread.
class View final : public Unknown {
 public:
    explicit View(Plugin& plugin);
    ~View() override;

    v3_plugin_view** face() { return as<v3_plugin_view>(view_); }
    void close();

 private:
    void* find(const std::uint8_t* id) noexcept override;

    v3_result attached(void* parent, const char* type);
    v3_result removed();
    v3_result onKeyDown(std::int16_t character, std::int16_t code, std::int16_t modifiers);
    v3_result getSize(v3_view_rect* rect);
    v3_result onSize(v3_view_rect* rect);
    v3_result setFrame(v3_plugin_frame** frame);
    v3_result checkSizeConstraint(v3_view_rect* rect);
    v3_result setContentScaleFactor(float factor);
    void requestSize(EmbeddedEditor::Size size);
    v3_result findParameter(std::int32_t x, std::int32_t y, v3_param_id* id);

    static const v3_plugin_view_cpp viewTable;
    static const v3_plugin_view_content_scale_cpp scaleTable;
    static const v3_plugin_view_parameter_finder_cpp finderTable;

    Face view_{&viewTable, this, this};
    Face scaleFace_{&scaleTable, this, this};
    Face finder_{&finderTable, this, this};

    Plugin& plugin_;
    Held<v3_plugin_frame> frame_;
    EmbeddedEditor editor_;
    bool isAttached_ = false;
};

}  // namespace qov::hosts::vst3
