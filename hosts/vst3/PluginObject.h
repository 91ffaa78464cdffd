#pragma once

#include <cstdint>
#include <memory>

#include "hosts/vst3/Controller.h"
#include "hosts/vst3/Interface.h"
#include "hosts/vst3/Processor.h"
#include "hosts/vst3/ReportedValues.h"
#include "hosts/vst3/Units.h"

namespace qov::hosts::vst3 {

/// The plug-in: one object that is component, processor and controller, around one instance.
class PluginObject final : public Unknown {
 public:
    PluginObject(std::unique_ptr<Instance> instance, Held<v3_run_loop> loop);
    ~PluginObject() override;

    /// Its first interface.
    v3_funknown** face() { return reinterpret_cast<v3_funknown**>(&component_); }

 private:
    void* find(const std::uint8_t* id) noexcept override;

    std::unique_ptr<Instance> instance_;
    ReportedValues values_;
    Controller controller_;
    Processor processor_;
    Units units_;

    Face component_{&Processor::componentTable, this, &processor_};
    Face audioProcessor_{&Processor::processorTable, this, &processor_};
    Face requirements_{&Processor::requirementsTable, this, &processor_};
    Face editController_{&Controller::controllerTable, this, &controller_};
    Face midiMapping_{&Controller::midiMappingTable, this, &controller_};
    Face unitInformation_{&Units::table, this, &units_};
};

}  // namespace qov::hosts::vst3
