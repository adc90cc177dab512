#include "MlagConfigCheckNaming.h"

#include "MlagConfigCheckTrace.h"
#include "kiv/Exception.h"
#include "kiv/RecentStrings.h"
#include "mlag/ReloadDelay.h"

namespace Mlag::ConfigCheck {

namespace {

constexpr char kivTraceSource[] = "MlagConfigCheckSm";

Kiv::String mlagReloadDelayStrRep(const Kiv::StructValue & reloadDelay) {
   bool cAttr = reloadDelay.hasField("delay");
   KIV_ASSERT(cAttr && "Mlag::ReloadDelay.delay removed");
   return reloadDelay.field("delay").strep();
}

} // namespace

Kiv::String getParamName(const Kiv::Ptr< ConfigCheckDesc > & desc, Kiv::String paramName,
                         Porta::IntfId intfId, Kiv::String mlagId, Kiv::String name) {
   // A key the descriptor gives no display name is not a parameter, whatever
   // the suffix would have been.
   if (paramName.empty()) return Kiv::String();
   if (intfId && desc->mlagInterfacesOnly()) {
      if (!mlagId.empty()) return Kiv::String::join({paramName.view(), " mlag", mlagId.view()});
      MLAG_TRACE(7, "IntfId ", intfId.stringValue(), " not present in mlag config.");
      return Kiv::String();
   }
   if (!intfId) {
      if (name == "Peer" || name == "Local") return paramName;
      return Kiv::String::join({paramName.view(), " ", name.view()});
   }
   return paramName;
}

Porta::IntfId getIntfId(Kiv::String name) {
   // Names that are no interface ("Local", group names) are common on the
   // change path: they are recognised up front, without the cost of raising
   // and catching the range error.
   if (name.empty() || Porta::IntfId::isValidName(name.view())) {
      Kiv::Expect expectRange(Kiv::ExceptionId::range);
      try {
         return Porta::IntfId(name);
      } catch (const Kiv::RangeException &) {
      }
   }
   MLAG_TRACE(8, "Invalid intfId exception for ", name);
   return Porta::IntfId();
}

Kiv::String collectionMemberParam(Kiv::String memberKey, Kiv::String collectionDisplayName) {
   if (collectionDisplayName.empty()) return Kiv::String();
   return Kiv::String::join({stringUnquote(memberKey).view(), " ", collectionDisplayName.view()});
}

Kiv::String stringUnquote(Kiv::String text) {
   if (text.size() >= 3 && text.charPtr()[0] == '\'' && text.charPtr()[text.size() - 1] == '\'') {
      return text.substr(1, text.size() - 2);
   }
   return text;
}

Kiv::String strRep(const Kiv::GenericValue & value) {
   if (!value.isEntity() && value.value().kind() == Kiv::Value::Kind::structured &&
       value.value().structValue()->typeName() == reloadDelayTypeName) {
      return mlagReloadDelayStrRep(*value.value().structValue());
   }
   return value.strep();
}

Kiv::String localValueText(const ConfigCheckDesc & desc, const Kiv::GenericValue & value) {
   return localValueText(desc, value ? strRep(value) : Kiv::String());
}

Kiv::String localValueText(const ConfigCheckDesc & desc, const Kiv::String & valueStrRep) {
   // The checker runs on one event thread; the table is only a cache.
   static Kiv::RecentStrings<> recent;
   const Kiv::String text = stringUnquote(valueStrRep);
   const Kiv::String replacement = desc.valueStrOverride(text);
   return recent.shared(replacement.empty() ? text : replacement);
}

} // namespace Mlag::ConfigCheck
