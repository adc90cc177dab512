#include "ResultWatch.h"

#include <set>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "ResultJson.h"

namespace MlagSim {

using Mlag::ConfigCheck::ConfigGlobalDiff;
using Mlag::ConfigCheck::ConfigIntfDiff;
using Mlag::ConfigCheck::ConfigIntfDir;
using Mlag::ConfigCheck::ConfigPluginDir;

namespace {

// A peer value waits under "Peer" + interface until the local side inserts
// that interface; its row shows the interface itself.
constexpr std::string_view provisionalPrefix = "Peer";

Kiv::String rowInterface(const Kiv::String & key) {
   return key.view().starts_with(provisionalPrefix) ? key.substr(provisionalPrefix.size()) : key;
}

Kiv::String provisionalKey(const Kiv::String & intf) {
   return Kiv::String::join({provisionalPrefix, intf.view()});
}

// An interface row: its parameter and the interface it shows.
using RowId = std::pair< Kiv::String, Kiv::String >;

// What one directory's notifications named since the last look.
struct Touched {
   std::set< Kiv::String > globals;
   std::set< Kiv::String > tables; // added or removed: every entry in them counts
   std::set< RowId > rows;
};

class GlobalWatch : public ConfigGlobalDiff::NotifieeConst {
 public:
   explicit GlobalWatch(Touched & touched) : touched_(touched) {}
   void onGroupId() override { touch(); }
   void onLocalVal() override { touch(); }
   void onPeerVal() override { touch(); }

   void follow(const Kiv::Ptr< ConfigGlobalDiff > & entry) {
      notifierIs(entry);
      groupId = entry->groupId();
      local = entry->localVal();
      peer = entry->peerVal();
   }

   Kiv::String groupId, local, peer; // as at the last look

 private:
   void touch() { touched_.globals.insert(notifier()->name()); }
   Touched & touched_;
};

class TableWatch;

class IntfWatch : public ConfigIntfDiff::NotifieeConst {
 public:
   explicit IntfWatch(TableWatch & table) : table_(table) {}
   void onLocalVal() override { touch(); }
   void onPeerVal() override { touch(); }
   void onDefaultVal() override { touch(); }

   void follow(const Kiv::Ptr< ConfigIntfDiff > & entry) {
      notifierIs(entry);
      defaultVal = entry->defaultVal();
      local = entry->localVal();
      peer = entry->peerVal();
   }

   Kiv::String defaultVal, local, peer; // as at the last look

 private:
   void touch();
   TableWatch & table_;
};

class TableWatch : public ConfigIntfDir::NotifieeConst {
 public:
   TableWatch(Touched & touched, const Kiv::String & param) : touched_(touched), param_(param) {}
   void onConfigIntfDiff(const Kiv::Name & key) override { touch(key); }
   void touch(const Kiv::String & key) { touched_.rows.emplace(param_, rowInterface(key)); }

   // By key; stable addresses, since each is attached to its entry.
   std::unordered_map< Kiv::String, IntfWatch > entries;

 private:
   Touched & touched_;
   Kiv::String param_;
};

void IntfWatch::touch() { table_.touch(notifier()->name()); }

} // namespace

class ResultWatch::DirWatch : public ConfigPluginDir::NotifieeConst {
 public:
   explicit DirWatch(ConfigPluginDir & dir) {
      notifierIs(Kiv::Ptr< ConfigPluginDir >(&dir));
      for (auto & it : dir.configGlobalDiffMap()) {
         globals_.try_emplace(it.key(), touched).first->second.follow(it.value());
      }
      for (auto & it : dir.configIntfDirMap()) {
         TableWatch & table = tableFollowing(it.key(), it.value());
         for (auto & entry : it.value()->configIntfDiffMap()) {
            table.entries.try_emplace(entry.key(), table).first->second.follow(entry.value());
         }
      }
   }

   void onConfigGlobalDiff(const Kiv::Name & name) override { touched.globals.insert(name); }
   void onConfigIntfDir(const Kiv::Name & param) override { touched.tables.insert(param); }

   // Every key of table `param`, as at the last look and now.
   template < class F >
   void eachKey(const Kiv::String & param, F && f) const {
      if (auto it = tables_.find(param); it != tables_.end()) {
         for (const auto & [key, watch] : it->second.entries) f(key);
      }
      if (Kiv::Ptr< ConfigIntfDir > table = dir().configIntfDir(Kiv::Name(param))) {
         for (auto & it : table->configIntfDiffMap()) f(it.key());
      }
   }

   void globalBefore(const Kiv::String & name, nlohmann::json & out) const {
      auto it = globals_.find(name);
      if (it == globals_.end()) return;
      const GlobalWatch & w = it->second;
      out[name.stdString()] = globalEntryJson(w.groupId, w.local, w.peer);
   }
   void globalNow(const Kiv::String & name, nlohmann::json & out) const {
      Kiv::Ptr< ConfigGlobalDiff > e = dir().configGlobalDiff(Kiv::Name(name));
      if (e) out[name.stdString()] = globalEntryJson(e->groupId(), e->localVal(), e->peerVal());
   }
   void entryBefore(const Kiv::String & param, const Kiv::String & key,
                    nlohmann::json & out) const {
      auto table = tables_.find(param);
      if (table == tables_.end()) return;
      auto it = table->second.entries.find(key);
      if (it == table->second.entries.end()) return;
      const IntfWatch & w = it->second;
      out[param.stdString()][key.stdString()] = intfEntryJson(w.defaultVal, w.local, w.peer);
   }
   void entryNow(const Kiv::String & param, const Kiv::String & key, nlohmann::json & out) const {
      Kiv::Ptr< ConfigIntfDir > table = dir().configIntfDir(Kiv::Name(param));
      Kiv::Ptr< ConfigIntfDiff > e = table ? table->configIntfDiff(Kiv::Name(key)) : nullptr;
      if (e) {
         out[param.stdString()][key.stdString()] =
            intfEntryJson(e->defaultVal(), e->localVal(), e->peerVal());
      }
   }

   // Brings the watch of one entry (or table) up to the directory as it is.
   void syncGlobal(const Kiv::String & name) {
      Kiv::Ptr< ConfigGlobalDiff > e = dir().configGlobalDiff(Kiv::Name(name));
      if (!e) {
         globals_.erase(name);
      } else {
         globals_.try_emplace(name, touched).first->second.follow(e);
      }
   }
   TableWatch * syncTable(const Kiv::String & param) {
      Kiv::Ptr< ConfigIntfDir > table = dir().configIntfDir(Kiv::Name(param));
      if (!table) {
         tables_.erase(param);
         return nullptr;
      }
      return &tableFollowing(param, table);
   }
   void syncEntry(const Kiv::String & param, const Kiv::String & key) {
      TableWatch * table = syncTable(param);
      if (!table) return;
      Kiv::Ptr< ConfigIntfDiff > e = table->notifier()->configIntfDiff(Kiv::Name(key));
      if (!e) {
         table->entries.erase(key);
      } else {
         table->entries.try_emplace(key, *table).first->second.follow(e);
      }
   }

   Touched touched;

 private:
   const ConfigPluginDir & dir() const { return *notifier(); }
   TableWatch & tableFollowing(const Kiv::String & param, const Kiv::Ptr< ConfigIntfDir > & table) {
      TableWatch & w = tables_.try_emplace(param, touched, param).first->second;
      w.notifierIs(table);
      return w;
   }

   std::unordered_map< Kiv::String, GlobalWatch > globals_;
   std::unordered_map< Kiv::String, TableWatch > tables_;
};

ResultWatch::ResultWatch(const Pair & pair)
      : switchNames_{pair.switchName(0), pair.switchName(1)}, plugins_(pair.pluginNames()) {
   for (std::size_t sw = 0; sw < 2; ++sw) {
      for (const std::string & plugin : plugins_) {
         dirs_.push_back(std::make_unique< DirWatch >(pair.resultsDir(sw, plugin)));
      }
   }
}

ResultWatch::~ResultWatch() = default;

ResultWatch::Delta ResultWatch::delta() {
   Delta d;
   for (nlohmann::json * side : {&d.before, &d.after}) {
      for (std::size_t sw = 0; sw < 2; ++sw) {
         nlohmann::json plugins = nlohmann::json::object();
         for (const std::string & plugin : plugins_) {
            plugins[plugin] = {{"global", nlohmann::json::object()},
                               {"interface", nlohmann::json::object()}};
         }
         (*side)["switches"].push_back(
            {{"name", switchNames_[sw]}, {"plugins", std::move(plugins)}});
      }
   }
   for (std::size_t k = 0; k < plugins_.size(); ++k) {
      DirWatch * watches[2] = {dirs_[k].get(), dirs_[plugins_.size() + k].get()};
      // A row can merge entries of both switches: what either touched counts for both.
      std::set< Kiv::String > globals, tables;
      std::set< RowId > rows;
      for (DirWatch * w : watches) {
         globals.insert(w->touched.globals.begin(), w->touched.globals.end());
         tables.insert(w->touched.tables.begin(), w->touched.tables.end());
         rows.insert(w->touched.rows.begin(), w->touched.rows.end());
      }
      for (const Kiv::String & param : tables) {
         for (DirWatch * w : watches) {
            w->eachKey(param,
                       [&](const Kiv::String & key) { rows.emplace(param, rowInterface(key)); });
         }
      }
      for (std::size_t sw = 0; sw < 2; ++sw) {
         DirWatch & w = *watches[sw];
         nlohmann::json & before = d.before["switches"][sw]["plugins"][plugins_[k]];
         nlohmann::json & after = d.after["switches"][sw]["plugins"][plugins_[k]];
         for (const Kiv::String & name : globals) {
            w.globalBefore(name, before["global"]);
            w.globalNow(name, after["global"]);
         }
         for (const auto & [param, intf] : rows) {
            for (const Kiv::String & key : {intf, provisionalKey(intf)}) {
               w.entryBefore(param, key, before["interface"]);
               w.entryNow(param, key, after["interface"]);
            }
         }
         for (const Kiv::String & param : tables) w.syncTable(param);
         for (const Kiv::String & name : globals) w.syncGlobal(name);
         for (const auto & [param, intf] : rows) {
            w.syncEntry(param, intf);
            w.syncEntry(param, provisionalKey(intf));
         }
         w.touched = Touched();
      }
   }
   return d;
}

} // namespace MlagSim
