// RecordTap: the sending end of the peer link for one plugin. It watches the
// switch's local peer-to-peer record, nested records included, and turns
// every change into a change frame, in the order the changes happen; a
// nested record is sent whole once it is announced, then watched.
//
//   snapshotFrames(*localRecord, "lacp", send);       // what stands now
//   RecordTap tap(localRecord, "lacp", send);         // what changes from now on
//
// Holds a counted reference to the record it watches; destroying it stops
// the watching and sends nothing.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "RecordCodec.h"

namespace MlagAgent::Peer {

using FrameSink = std::function< void(std::string frame) >;

// The change frames that rebuild `record` from nothing: its paramName, each
// value and each nested configuration whole.
void snapshotFrames(const GenericConfig & record, std::string_view plugin, const FrameSink & send);

class RecordTap : public GenericConfig::NotifieeConst {
 public:
   RecordTap(const Kiv::Ptr< GenericConfig > & record, std::string plugin, FrameSink send,
             Path path = {});
   ~RecordTap() override;

   void onParamName() override;
   void onAttr(const Kiv::String & attr) override;
   void onAttrCollection(const MlagP2p::ConfigCheck::CollectionConfig & member) override;
   void onNestedIntfConfig(const Kiv::Name & name) override { onNested(Table::intf, name); }
   void onNestedGlobalConfig(const Kiv::Name & name) override { onNested(Table::global, name); }

 private:
   void onNested(Table table, const Kiv::Name & name);
   void watch(Table table, const Kiv::Name & name, const Kiv::Ptr< GenericConfig > & nested);

   std::string plugin_;
   FrameSink send_;
   Path path_; // from the plugin's record to the watched one
   std::map< std::pair< Table, Kiv::Name >, std::unique_ptr< RecordTap > > children_;
};

} // namespace MlagAgent::Peer
