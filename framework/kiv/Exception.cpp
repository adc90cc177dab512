#include "kiv/Exception.h"

#include <array>

namespace Kiv {

namespace {
// Nesting depth of Expect scopes per id; single event thread, so no locking.
std::array< int, 32 > expectDepth{};

int slot(ExceptionId id) { return static_cast< int >(id) & 31; }
} // namespace

Exception::Exception(ExceptionId id, const std::string & text)
      : std::runtime_error(text), id_(id) {}

RangeException::RangeException(const std::string & text) : Exception(ExceptionId::range, text) {}

NameInUseException::NameInUseException(const std::string & text)
      : Exception(ExceptionId::nameInUse, text) {}

ParseException::ParseException(const std::string & text) : Exception(ExceptionId::parse, text) {}

DeserializeAttrException::DeserializeAttrException(const std::string & attrName,
                                                   const std::string & cause)
      : Exception(ExceptionId::deserializeAttr,
                  "failed to deserialize attribute '" + attrName + "': " + cause),
        attrName_(attrName) {}

OperationNotSupportedException::OperationNotSupportedException(const std::string & text)
      : Exception(ExceptionId::operationNotSupported, text) {}

TypeException::TypeException(const std::string & text) : Exception(ExceptionId::type, text) {}

void throwRangeException(const std::string & text) { throw RangeException(text); }

void throwNameInUseException(const std::string & text) { throw NameInUseException(text); }

Expect::Expect(ExceptionId id) : id_(id) { ++expectDepth[slot(id)]; }

Expect::~Expect() { --expectDepth[slot(id_)]; }

bool Expect::isExpected(ExceptionId id) noexcept { return expectDepth[slot(id)] > 0; }

} // namespace Kiv
