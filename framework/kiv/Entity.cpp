#include "kiv/Entity.h"

#include <string>
#include <vector>

#include "kiv/Strep.h"

namespace Kiv {

String Entity::fullName() const {
   std::vector< std::string_view > names;
   for (const Entity * e = this; e; e = e->parent()) names.push_back(e->name().view());
   std::string path;
   for (auto it = names.rbegin(); it != names.rend(); ++it) {
      path += '/';
      path += *it;
   }
   return String(path);
}

String Entity::kivStrep() const { return valueToStrep(fullName()); }

} // namespace Kiv
