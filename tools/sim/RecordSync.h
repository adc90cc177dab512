// The pieces of a delayed transport: a spy that tells when anything in a
// switch's local record (nested records included) changed, and a sync that
// later brings the peer's copy to the record as it then stands. Changes that
// pile up between two deliveries arrive together, in one batch, as a real
// transport that coalesces updates delivers them.
//
//   RecordSpy spy(localA, [&] { dirty = true; });
//   ...                                   // localA changes; nothing is sent
//   syncRecord(*localA, *peerB);          // peerB now equals localA
//
// A spy holds a counted reference to what it watches; destroying it stops
// the watching.
#pragma once

#include <functional>
#include <map>
#include <memory>

#include "ConfigCheck/GenericConfig.h"

namespace MlagSim {

// Makes `to` equal to `from`, nested records included, changing only what
// differs. A nested record new to `to` is announced once filled, so the
// peer's reactors meet the whole record.
void syncRecord(const MlagP2p::ConfigCheck::GenericConfig & from,
                MlagP2p::ConfigCheck::GenericConfig & to);

// Removes everything from `record`, with the notifications this causes.
void wipeRecord(MlagP2p::ConfigCheck::GenericConfig & record);

class RecordSpy : public MlagP2p::ConfigCheck::GenericConfig::NotifieeConst {
 public:
   RecordSpy(const Kiv::Ptr< MlagP2p::ConfigCheck::GenericConfig > & record,
             std::function< void() > changed);
   ~RecordSpy() override;

   void onParamName() override { changed_(); }
   void onAttr(const Kiv::String &) override { changed_(); }
   void onAttrCollection(const MlagP2p::ConfigCheck::CollectionConfig &) override { changed_(); }
   void onNestedIntfConfig(const Kiv::Name & name) override;
   void onNestedGlobalConfig(const Kiv::Name & name) override;

 private:
   using Children = std::map< Kiv::Name, std::unique_ptr< RecordSpy > >;
   void watch(const Kiv::Ptr< MlagP2p::ConfigCheck::GenericConfig > & nested, Children & children,
              const Kiv::Name & name);

   std::function< void() > changed_;
   Children intfChildren_, globalChildren_;
};

} // namespace MlagSim
