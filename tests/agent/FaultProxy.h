// A TCP proxy on 127.0.0.1 that sits in a peer link for the fault tests:
// it forwards every connection it accepts to the target port and, on
// command, delays, stalls, corrupts or cuts the bytes on their way. Faults
// apply in both directions; the one-shot ones (cut, corrupt) to the next
// bytes that pass in either.
//
//   FaultProxy proxy;               // listening; forwards once it has a target
//   proxy.targetIs(agentBPort);
//   proxy.cutAfter(300);            // the next connection dies mid-snapshot
//
// Runs its own event loop on a thread of its own (test machinery: the agents
// under test are separate processes). Commands are posted to that loop and
// take effect in order; the destructor closes everything.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>

class FaultProxy {
 public:
   FaultProxy();
   ~FaultProxy();
   FaultProxy(const FaultProxy &) = delete;
   FaultProxy & operator=(const FaultProxy &) = delete;

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

   struct Loop; // the proxy's event loop and its connections

 private:
   std::unique_ptr< Loop > loop_;
   std::uint16_t port_ = 0;
};
