// Applying one scenario step to a switch's live objects: a plugin step to
// the plugin's configuration entity, an MLAG step to the MLAG table. The
// changes notify the entities' watchers at once; nothing runs here.
//
//   applyConfigStep(step, *config, descriptorJson);   // step.plugin is this plugin
//   applyMlagStep(step, *mlagConfig);                 // step.plugin is empty
//
// REQUIRES: the step is valid for the objects as they stand (the scenario
// loader replays every step on a model of them); a path that does not exist
// raises std::runtime_error.
#pragma once

#include <nlohmann/json.hpp>

#include "Scenario.h"
#include "kiv/DynamicEntity.h"
#include "mlag/MlagConfig.h"

namespace MlagSim {

// `descriptor` is the plugin's descriptor JSON: it declares the attributes of
// the nested entities a step creates.
void applyConfigStep(const Step & step, Kiv::DynamicEntity & config,
                     const nlohmann::json & descriptor);

void applyMlagStep(const Step & step, Mlag::Config & mlag);

} // namespace MlagSim
