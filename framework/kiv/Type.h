// Type records and the process's type registry.
//
// A KivType names a registered type and lists its attributes (KivAttr), which
// are found by name or by id (ids count from 1 in declaration order). A type
// may carry a factory so that objects of it can be created reflectively from
// a list of constructor arguments.
//
// Run-time types grow one attribute at a time through extendedBy(): entities
// that declare the same attributes in the same order share one type, so ten
// thousand alike configurations hold one attribute table, not ten thousand.
//
//   Kiv::typeNodeIs(myType);                    // at load time
//   Kiv::typeNode("Mlag::ConfigCheck::SmCodefKey")->attr("paramName")->id;
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string_view>
#include <vector>

#include "kiv/HashMap.h"
#include "kiv/Ptr.h"
#include "kiv/String.h"

namespace Kiv {

class GenericValue;

struct KivAttr {
   String name;
   std::uint32_t id = 0;
   bool collection = false;
};

class KivType : public PtrInterface {
 public:
   using Factory = std::function< Ptr< PtrInterface >(const std::vector< GenericValue > &) >;

   explicit KivType(const String & name) : name_(name) {}
   ~KivType() override;

   const String & name() const noexcept { return name_; }
   const KivAttr * attr(std::string_view name) const noexcept;
   const KivAttr * attr(std::uint32_t id) const noexcept;
   // Declares an attribute (or returns the one of that name already declared).
   const KivAttr & attrIs(const String & name, bool collection);
   const std::deque< KivAttr > & attrs() const noexcept { return attrs_; }
   // The type of the same name with this type's attributes and `name` after
   // them, shared by every caller that extends this type by the same
   // attribute. An extended type is never changed again; this type keeps it
   // only while somebody else holds it.
   Ptr< KivType > extendedBy(const String & name, bool collection);

   void factoryIs(Factory factory) { factory_ = std::move(factory); }
   // Creates an object from constructor arguments; raises the
   // operation-not-supported error when the type has no factory.
   Ptr< PtrInterface > create(const std::vector< GenericValue > & args) const;

 private:
   String name_;
   std::deque< KivAttr > attrs_; // attrs_[id - 1]; references stay valid as attributes are added
   Factory factory_;
   // An extension holds the type it extends; that type finds its live
   // extensions by their added attribute's name without holding them, and an
   // extension leaves the table when it dies. Of two extensions by one name
   // in both shapes, only the first is listed (and shared).
   Ptr< KivType > base_;
   HashMap< String, KivType * > extensions_;
};

// Registers a type; a second type of the same name is refused with the
// name-in-use error. Registration order is kept.
void typeNodeIs(const Ptr< KivType > & type);
Ptr< KivType > typeNode(std::string_view name);
std::vector< String > registeredTypeNames();

} // namespace Kiv
