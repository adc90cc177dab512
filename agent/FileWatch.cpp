#include "FileWatch.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sys/inotify.h>
#include <system_error>
#include <unistd.h>

namespace MlagAgent {

namespace {

int inotifyFor(const std::string & directory) {
   const int fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
   if (fd < 0) throw std::system_error(errno, std::generic_category(), "inotify_init1");
   // Writes in place end in CLOSE_WRITE; a rename over the file is MOVED_TO;
   // CREATE and DELETE catch editors that remove and recreate.
   const std::uint32_t mask = IN_CLOSE_WRITE | IN_MOVED_TO | IN_CREATE | IN_DELETE | IN_MODIFY;
   if (inotify_add_watch(fd, directory.c_str(), mask) < 0) {
      const int error = errno;
      ::close(fd);
      throw std::system_error(error, std::generic_category(), "cannot watch " + directory);
   }
   return fd;
}

std::string directoryOf(const std::string & path) {
   const std::filesystem::path dir = std::filesystem::path(path).parent_path();
   return dir.empty() ? "." : dir.string();
}

} // namespace

FileWatch::FileWatch(boost::asio::io_context & io, const std::string & path,
                     std::function< void() > changed, std::chrono::milliseconds debounce)
      : inotify_(io, inotifyFor(directoryOf(path))),
        debounce_(io),
        debounceTime_(debounce),
        fileName_(std::filesystem::path(path).filename().string()),
        changed_(std::move(changed)) {
   read();
}

void FileWatch::read() {
   inotify_.async_read_some(boost::asio::buffer(buffer_),
                            [this](const boost::system::error_code & ec, std::size_t bytes) {
                               if (ec) return; // closed at shutdown
                               scan(bytes);
                               read();
                            });
}

void FileWatch::scan(std::size_t bytes) {
   bool ours = false;
   for (std::size_t at = 0; at + sizeof(inotify_event) <= bytes;) {
      inotify_event event;
      std::memcpy(&event, buffer_.data() + at, sizeof event);
      const char * name = buffer_.data() + at + sizeof(inotify_event);
      if (event.len > 0 && fileName_ == name) ours = true;
      at += sizeof(inotify_event) + event.len;
   }
   if (!ours) return;
   debounce_.expires_after(debounceTime_);
   debounce_.async_wait([this](const boost::system::error_code & ec) {
      if (!ec) changed_();
   });
}

} // namespace MlagAgent
