// Watches one file for changes through inotify on its DIRECTORY, so that an
// editor that writes a new file and renames it over the old one is seen as
// well as one that writes in place. Events are debounced: `changed` runs once
// the file has been quiet for the debounce time after the last event.
//
//   MlagAgent::FileWatch watch(io, "/etc/mlag/leaf1.switch.json", [&] { agent.reload(); });
//
// The inotify descriptor lives in a stream_descriptor on the caller's
// io_context; single event thread. Raises std::system_error when inotify
// cannot watch the directory.
#pragma once

#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <string>

namespace MlagAgent {

class FileWatch {
 public:
   FileWatch(boost::asio::io_context & io, const std::string & path,
             std::function< void() > changed,
             std::chrono::milliseconds debounce = std::chrono::milliseconds(50));
   FileWatch(const FileWatch &) = delete;
   FileWatch & operator=(const FileWatch &) = delete;

 private:
   void read();
   void scan(std::size_t bytes);

   boost::asio::posix::stream_descriptor inotify_;
   boost::asio::steady_timer debounce_;
   std::chrono::milliseconds debounceTime_;
   std::string fileName_; // the name within the directory
   std::function< void() > changed_;
   alignas(8) std::array< char, 8192 > buffer_;
};

} // namespace MlagAgent
