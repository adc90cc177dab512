// The switch's MLAG configuration as the config checker reads it: per
// interface, the MLAG id that the interface belongs to.
//
//   Kiv::Ptr< Mlag::Config > mlag = Kiv::kivNew< Mlag::Config >(Kiv::Name("mlag"));
//   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("10"));
//   mlag->intfConfig(intfId).mlagId();   // "10"; empty when not an MLAG interface
//
// Config is a counted entity owned by whoever holds references to it (the
// agent or the simulator); watchers attach through Config::NotifieeConst and
// hear onIntfConfig(intfId) synchronously, only when an entry really changes.
#pragma once

#include "kiv/Entity.h"
#include "kiv/String.h"
#include "porta/IntfId.h"

namespace Mlag {

// An interface's MLAG configuration; the empty id means the interface has none.
class IntfConfig {
 public:
   IntfConfig() = default;
   explicit IntfConfig(const Kiv::String & mlagId) : mlagId_(mlagId) {}

   const Kiv::String & mlagId() const noexcept { return mlagId_; }
   bool operator==(const IntfConfig & o) const noexcept { return mlagId_ == o.mlagId_; }

 private:
   Kiv::String mlagId_;
};

class Config : public Kiv::Entity {
 public:
   class NotifieeConst : public Kiv::Notifiee< Config > {
    public:
      virtual void onIntfConfig(const Porta::IntfId &) {}
   };

   explicit Config(const Kiv::Name & name);

   // Absent interfaces read as an empty IntfConfig.
   KIV_VALUE_MAP(Porta::IntfId, IntfConfig, intfConfig, IntfConfig)
};

} // namespace Mlag
