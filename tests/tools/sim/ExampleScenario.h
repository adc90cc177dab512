// The example scenario of the scenario format, shared by the simulator's tests.
#pragma once

namespace MlagSimTest {

inline constexpr char exampleScenario[] = R"({
  "description": "free text, optional",
  "plugins": {
    "lacp": {
      "mlagInterfacesOnly": false, "absenceImpliesDefaultVal": false,
      "attrName": { "systemPriority": "LACP system priority" },
      "collectionName": { "vlan": "allowed vlan" },
      "valueStrOverride": { "true": "enabled" },
      "defaultVal": { "systemPriority": "32768" },
      "nestedConfigCheckDesc": {
        "intfConfig": { "mlagInterfacesOnly": true, "attrName": { "mode": "lacp mode" } } } } },
  "switches": [
    { "name": "A", "mlag": { "Port-Channel10": "10" },
      "config": { "lacp": { "systemPriority": 32768, "vlan": { "10": "active", "20": "active" },
                            "intfConfig": { "Port-Channel10": { "mode": "active" } } } } },
    { "name": "B", "mlag": { "Port-Channel10": "10" },
      "config": { "lacp": { "systemPriority": 32768, "vlan": { "10": "active", "20": "active" },
                            "intfConfig": { "Port-Channel10": { "mode": "active" } } } } }
  ],
  "steps": [
    { "switch": "A", "plugin": "lacp", "path": ["intfConfig", "Port-Channel10", "mode"],
      "set": "passive" },
    { "switch": "B", "plugin": "lacp", "path": ["vlan", "20"], "delete": true },
    { "switch": "B", "mlag": "Port-Channel10", "set": "11" },
    { "switch": "A", "mlag": "Port-Channel10", "delete": true }
  ]
})";

} // namespace MlagSimTest
