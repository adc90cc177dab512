// RecordTap: the sending end of the peer link for one plugin. It watches the
// switch's local peer-to-peer record, nested records included, and adds
// every change to the session's batch, in the order the changes happen; a
// nested record is sent whole once it is announced, then watched.
//
//   snapshotChanges(*localRecord, "lacp", out);       // what stands now
//   RecordTap tap(localRecord, "lacp", out);          // what changes from now on
//
// Holds a counted reference to the record it watches; destroying it stops
// the watching and sends nothing.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "RecordCodec.h"

namespace MlagAgent::Peer {

// The changes that rebuild `record` from nothing: its paramName, each value
// and each nested configuration whole.
void snapshotChanges(const GenericConfig & record, std::string_view plugin, ChangeBatcher & out);

class RecordTap : public GenericConfig::NotifieeConst {
 public:
   // `out` outlives the tap.
   RecordTap(const Kiv::Ptr< GenericConfig > & record, std::string plugin, ChangeBatcher & out,
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
   ChangeBatcher & out_;
   Path path_; // from the plugin's record to the watched one
   std::map< std::pair< Table, Kiv::Name >, std::unique_ptr< RecordTap > > children_;
};

} // namespace MlagAgent::Peer
