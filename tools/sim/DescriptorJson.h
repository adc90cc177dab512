// What a plugin descriptor, in its scenario JSON form, says about the shape
// of a configuration entity: which attributes it names as scalars
// (attrName), which as collections (collectionName, nestedConfigCheckDesc),
// and which descriptor describes the entities of a nested collection.
// The loader checks entities against it; the pair declares attributes by it,
// so that both switches' entities have the same attributes, as a generated
// type would.
//
//   const nlohmann::json * nested = nestedDescriptor(&plugins["lacp"], "intfConfig");
//   declaredShape(nested, "mode");   // AttrShape::scalar
//
// A null descriptor (an entity that no descriptor describes) declares nothing.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace MlagSim {

enum class AttrShape { undeclared, scalar, collection };

// An object without "@type": an entity, or a collection attribute, by level.
bool isEntityJson(const nlohmann::json & value);

AttrShape declaredShape(const nlohmann::json * descriptor, const std::string & attr);

// The descriptor of the members of collection `collection`, or null.
const nlohmann::json * nestedDescriptor(const nlohmann::json * descriptor,
                                        const std::string & collection);

// Every attribute the descriptor names, each once: attrName keys, then
// collectionName keys, then nestedConfigCheckDesc keys, each in byte order.
std::vector< std::pair< std::string, AttrShape > > declaredAttributes(
   const nlohmann::json * descriptor);

} // namespace MlagSim
