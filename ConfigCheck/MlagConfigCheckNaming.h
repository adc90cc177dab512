// Parameter naming and interface resolution, shared by the local and the peer
// side so that both name every parameter identically: a local and a peer value
// of one parameter always meet under one name.
//
//   getParamName(desc, "lacp mode", getIntfId("Port-Channel10"), "10", "Port-Channel10");
//      // "lacp mode mlag10" when desc->mlagInterfacesOnly()
//   stringUnquote("'active'");   // "active"
#pragma once

#include "ConfigCheckDesc.h"
#include "kiv/GenericIf.h"
#include "porta/IntfId.h"

namespace Mlag::ConfigCheck {

// The name under which a value is filed, or empty when it is to be skipped
// (an empty base name, or an MLAG-only model on an interface that has no
// MLAG id).
Kiv::String getParamName(const Kiv::Ptr< ConfigCheckDesc > & desc, Kiv::String paramName,
                         Porta::IntfId intfId, Kiv::String mlagId, Kiv::String name);

// The interface named `name`, or the empty identifier (with a trace) when the
// name is not an interface name.
Porta::IntfId getIntfId(Kiv::String name);

// The base name of one collection member: its unquoted key, a blank, and the
// collection's display name; empty when the collection has no display name.
Kiv::String collectionMemberParam(Kiv::String memberKey, Kiv::String collectionDisplayName);

// Removes one level of single quotes from a text of three or more characters.
Kiv::String stringUnquote(Kiv::String text);

// The text form of a configuration value; a reload delay shows its delay.
Kiv::String strRep(const Kiv::GenericValue & value);

// The text a local value is published and compared by: its unquoted text
// form, or the descriptor's replacement for that text. Equal texts share one
// buffer, since a value usually repeats on every interface.
Kiv::String localValueText(const ConfigCheckDesc & desc, const Kiv::GenericValue & value);
// The same from the value's text form (strRep) already at hand.
Kiv::String localValueText(const ConfigCheckDesc & desc, const Kiv::String & valueStrRep);

} // namespace Mlag::ConfigCheck
