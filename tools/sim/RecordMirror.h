// RecordMirror: the pair's transport for one plugin in one direction. It
// watches a switch's local peer-to-peer record, nested records included, and
// applies every change to the other switch's peer record within the same
// call, so the other switch's reactors see it at once. A nested record
// arrives whole: filled with its paramName and contents as they stand before
// its arrival is announced.
//
//   copyRecord(*localA, *peerB);                                 // before the start
//   auto mirror = std::make_unique< RecordMirror >(localA, peerB);
//   localA->attrIs("mtu", "9000");                               // peerB->attr("mtu") == "9000"
//
// Holds counted references to both records; destroying it detaches the
// transport (nested watchers included) and changes neither record. Changes
// reach the target in the target's trace context, so the other switch's
// reactions trace as that switch.
#pragma once

#include <map>
#include <memory>

#include "ConfigCheck/GenericConfig.h"
#include "trace/Context.h"

namespace MlagSim {

using MlagP2p::ConfigCheck::CollectionConfig;
using MlagP2p::ConfigCheck::GenericConfig;

// Copies `from` into `to`, nested records included, with the notifications
// this causes on `to` and its members.
void copyRecord(const GenericConfig & from, GenericConfig & to);

class RecordMirror : public GenericConfig::NotifieeConst {
 public:
   // REQUIRES: `target` holds a copy of `source` (copyRecord).
   RecordMirror(const Kiv::Ptr< GenericConfig > & source, const Kiv::Ptr< GenericConfig > & target,
                Kiv::Trace::Context targetContext = nullptr);
   ~RecordMirror() override;

   void onParamName() override;
   void onAttr(const Kiv::String & attr) override;
   void onAttrCollection(const CollectionConfig & member) override;
   void onNestedIntfConfig(const Kiv::Name & name) override;
   void onNestedGlobalConfig(const Kiv::Name & name) override;

 private:
   using Children = std::map< Kiv::Name, std::unique_ptr< RecordMirror > >;
   void watchNested(const Kiv::Ptr< GenericConfig > & source,
                    const Kiv::Ptr< GenericConfig > & target, Children & children,
                    const Kiv::Name & name);

   Kiv::Ptr< GenericConfig > target_;
   Kiv::Trace::Context targetContext_;
   // One mirror per nested record of the source, each bound to its copy.
   Children intfChildren_;
   Children globalChildren_;
};

} // namespace MlagSim
