// The rule of keyed collections of nested state machines: asking again for a
// machine under a name that is taken returns it only when every constructor
// parameter is the same; a changed parameter is refused with the framework's
// name-in-use error naming the first one that differs.
//
//   refuseChangedParameter("_clock", clock, existing->clock());
#pragma once

#include <string>

#include "kiv/Entity.h"
#include "kiv/Exception.h"

namespace Mlag::ConfigCheck {

template < class T >
std::string parameterText(const Kiv::Ptr< T > & value) {
   return value ? value->kivStrep().stdString() : std::string("null");
}

template < class T, class U >
void refuseChangedParameter(const char * attrName, const Kiv::Ptr< T > & requested,
                            const Kiv::Ptr< U > & current) {
   if (requested == current) return;
   Kiv::throwNameInUseException(
      std::string("Reinstantiating the pointer interface where constructor parameter attribute ") +
      attrName + " has a different value of " + parameterText(requested) +
      " than the current value of " + parameterText(current) + " not allowed");
}

} // namespace Mlag::ConfigCheck
