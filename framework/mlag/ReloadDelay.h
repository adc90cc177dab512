// Mlag::ReloadDelay: the MLAG reload-delay value, a structured value whose
// one compared field is `delay` (seconds). Configurations carry it as a
// Kiv::Value of kind structured with this type name.
//
//   Kiv::Value v = Mlag::reloadDelay(300);
//   v.structValue()->field("delay").integerValue();   // 300
#pragma once

#include <cstdint>

#include "kiv/Value.h"

namespace Mlag {

inline constexpr char reloadDelayTypeName[] = "Mlag::ReloadDelay";

inline Kiv::Value reloadDelay(std::int64_t delay) {
   auto fields = Kiv::kivNew< Kiv::StructValue >(reloadDelayTypeName);
   fields->fieldIs("delay", Kiv::Value::integer(delay));
   return Kiv::Value::structured(fields);
}

} // namespace Mlag
