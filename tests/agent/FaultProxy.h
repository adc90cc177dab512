// A TCP proxy on 127.0.0.1 that sits in a peer link for the fault tests:
// it forwards every connection it accepts to the target port and, on
// command, delays, stalls, corrupts or cuts the bytes on their way. Faults
// apply in both directions; the one-shot ones (cut, corrupt) to the next
// bytes that pass in either.
//
// Runs its own event loop on a thread of its own (test machinery: the agents
// under test are separate processes). Commands are posted to that loop and
// take effect in order; the destructor closes everything.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <type_traits>

class FaultProxy {
 public:
   FaultProxy();
   ~FaultProxy();

   std::uint16_t port() const noexcept { return port_; }
   // Connections accepted before there is a target are closed at once.
   void targetIs(std::uint16_t port);
   // Every chunk is held this long before it is passed on (0: none).
   void delayIs(std::chrono::milliseconds delay);
   // While stalled, connections stay open and nothing passes.
   void stallIs(bool stalled);
   // Closes every connection once `bytes` more bytes have passed.
   void cutAfter(std::size_t bytes);
   // Flips the bits of the byte `offset` bytes from now.
   void corruptAt(std::size_t offset);
   // Closes every open connection now.
   void cutAll();
   // Connections accepted so far.
   std::size_t accepted() const;

 private:
   struct Loop; // the proxy's event loop and its connections
   // Sets a member of the loop, on the loop's thread.
   template < class T >
   void set(T Loop::*member, std::type_identity_t< T > value);

   std::unique_ptr< Loop > loop_;
   std::uint16_t port_ = 0;
};
