#include "kiv/Type.h"

#include "kiv/Exception.h"
#include "kiv/GenericIf.h"

namespace Kiv {

namespace {

std::vector< Ptr< KivType > > & registry() {
   static auto * types = new std::vector< Ptr< KivType > >; // lives for the whole process
   return *types;
}

} // namespace

KivType::~KivType() {
   if (!base_) return;
   const String & added = attrs_.back().name;
   KivType * const * listed = base_->extensions_.get(added);
   if (listed && *listed == this) base_->extensions_.erase(added);
}

Ptr< KivType > KivType::extendedBy(const String & name, bool collection) {
   KivType * const * listed = extensions_.get(name);
   if (listed && (*listed)->attrs_.back().collection == collection) return Ptr< KivType >(*listed);
   Ptr< KivType > extension = kivNew< KivType >(name_);
   extension->attrs_ = attrs_;
   extension->attrs_.push_back(
      KivAttr{name, static_cast< std::uint32_t >(attrs_.size() + 1), collection});
   extension->base_ = Ptr< KivType >(this);
   if (!listed) extensions_.insert(name, extension.get());
   return extension;
}

const KivAttr * KivType::attr(std::string_view name) const noexcept {
   for (const KivAttr & a : attrs_) {
      if (a.name.view() == name) return &a;
   }
   return nullptr;
}

const KivAttr * KivType::attr(std::uint32_t id) const noexcept {
   return id >= 1 && id <= attrs_.size() ? &attrs_[id - 1] : nullptr;
}

const KivAttr & KivType::attrIs(const String & name, bool collection) {
   if (const KivAttr * existing = attr(name.view())) return *existing;
   attrs_.push_back(KivAttr{name, static_cast< std::uint32_t >(attrs_.size() + 1), collection});
   return attrs_.back();
}

Ptr< PtrInterface > KivType::create(const std::vector< GenericValue > & args) const {
   if (!factory_) {
      throw OperationNotSupportedException("type " + name_.stdString() +
                                           " cannot be created reflectively");
   }
   return factory_(args);
}

void typeNodeIs(const Ptr< KivType > & type) {
   validPtr(type);
   if (typeNode(type->name().view())) {
      throwNameInUseException("type " + type->name().stdString() + " is already registered");
   }
   registry().push_back(type);
}

Ptr< KivType > typeNode(std::string_view name) {
   for (const auto & t : registry()) {
      if (t->name().view() == name) return t;
   }
   return Ptr< KivType >();
}

std::vector< String > registeredTypeNames() {
   std::vector< String > names;
   for (const auto & t : registry()) names.push_back(t->name());
   return names;
}

} // namespace Kiv
