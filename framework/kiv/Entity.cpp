#include "kiv/Entity.h"

#include "kiv/Strep.h"

namespace Kiv {

String Entity::fullName() const {
   std::string path;
   for (const Entity * e = this; e; e = e->parent()) {
      path.insert(0, e->name().view());
      path.insert(0, "/");
   }
   return String(path);
}

String Entity::kivStrep() const { return valueToStrep(fullName()); }

} // namespace Kiv
