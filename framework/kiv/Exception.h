// The framework's error types. Every error carries a numeric id so that a
// scope can declare an id expected (Kiv::Expect) and the framework can tell a
// handled failure from a fault.
//
//   try { Porta::IntfId id("Ethernet1/"); }
//   catch (const Kiv::RangeException& e) { /* e.what() names the input */ }
#pragma once

#include <stdexcept>
#include <string>

namespace Kiv {

enum class ExceptionId : int {
   generic = 1,
   parse = 5,
   deserializeAttr = 6,
   nameInUse = 8,
   operationNotSupported = 9,
   type = 10,
   range = 12,
};

class Exception : public std::runtime_error {
 public:
   Exception(ExceptionId id, const std::string & text);
   ExceptionId id() const noexcept { return id_; }

 private:
   ExceptionId id_;
};

class RangeException : public Exception {
 public:
   explicit RangeException(const std::string & text);
};

class NameInUseException : public Exception {
 public:
   explicit NameInUseException(const std::string & text);
};

// A string form did not match what the parser required at some position.
class ParseException : public Exception {
 public:
   explicit ParseException(const std::string & text);
};

// Parsing one attribute of a structured string form failed; names the attribute.
class DeserializeAttrException : public Exception {
 public:
   DeserializeAttrException(const std::string & attrName, const std::string & cause);
   const std::string & attrName() const noexcept { return attrName_; }

 private:
   std::string attrName_;
};

class OperationNotSupportedException : public Exception {
 public:
   explicit OperationNotSupportedException(const std::string & text);
};

class TypeException : public Exception {
 public:
   explicit TypeException(const std::string & text);
};

[[noreturn]] void throwRangeException(const std::string & text);
[[noreturn]] void throwNameInUseException(const std::string & text);

// Declares an exception id expected for the life of the scope (nestable).
class Expect {
 public:
   explicit Expect(ExceptionId id);
   ~Expect();
   Expect(const Expect &) = delete;
   Expect & operator=(const Expect &) = delete;

   static bool isExpected(ExceptionId id) noexcept;

 private:
   ExceptionId id_;
};

} // namespace Kiv
