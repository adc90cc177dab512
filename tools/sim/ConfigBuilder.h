// Building the checker's inputs from a scenario's JSON: plugin descriptors
// (ConfigCheckDesc, nested to any depth), configuration values (Kiv::Value)
// and configuration entities (Kiv::DynamicEntity).
//
//   auto desc = buildDescriptor("lacp", scenario.plugins["lacp"]);
//   auto config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("lacp"));
//   fillEntity(*config, switchSpec.config["lacp"], &scenario.plugins["lacp"]);
//
// REQUIRES: the JSON passed the scenario loader's checks; a kind the loader
// rejects raises std::invalid_argument here.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "ConfigCheck/ConfigCheckDesc.h"
#include "kiv/DynamicEntity.h"
#include "kiv/Value.h"

namespace MlagSim {

Kiv::Ptr< Mlag::ConfigCheck::ConfigCheckDesc > buildDescriptor(const std::string & name,
                                                               const nlohmann::json & descriptor);

// A string, integer, boolean, null, or an object with "@type" (a structured
// value of that type whose other members are its fields).
Kiv::Value toValue(const nlohmann::json & value);

// Declares every attribute `descriptor` names (may be null), then sets the
// members of `content`: values as scalars, objects without "@type" as
// collections whose object members become nested entities, described by the
// descriptor's nested descriptor of that collection.
void fillEntity(Kiv::DynamicEntity & entity, const nlohmann::json & content,
                const nlohmann::json * descriptor);

} // namespace MlagSim
