#include "AgentProcess.h"

#include <arpa/inet.h>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <netinet/in.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

HttpReply httpExchange(int port, const std::string & request) {
   HttpReply reply;
   const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
   if (fd < 0) return reply;
   sockaddr_in at{};
   at.sin_family = AF_INET;
   at.sin_port = htons(static_cast< std::uint16_t >(port));
   at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
   std::string text;
   if (::connect(fd, reinterpret_cast< sockaddr * >(&at), sizeof at) == 0 &&
       ::send(fd, request.data(), request.size(), MSG_NOSIGNAL) ==
          static_cast< ssize_t >(request.size())) {
      char buffer[4096];
      ssize_t n;
      while ((n = ::recv(fd, buffer, sizeof buffer, 0)) > 0) text.append(buffer, n);
   }
   ::close(fd);
   const std::size_t end = text.find("\r\n\r\n");
   if (text.compare(0, 9, "HTTP/1.1 ") != 0 || end == std::string::npos) return reply;
   reply.status = std::stoi(text.substr(9, 3));
   reply.head = text.substr(0, end);
   reply.body = text.substr(end + 4);
   return reply;
}

bool eventually(const std::function< bool() > & done) {
   for (int i = 0; i < 1000; ++i) {
      if (done()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
   }
   return done();
}

AgentProcess::AgentProcess(const std::filesystem::path & switchFile,
                           std::vector< std::string > options)
      : switchFile_(switchFile),
        options_(std::move(options)),
        logFile_(switchFile.string() + ".log") {
   std::filesystem::remove(logFile_);
   spawn();
}

void AgentProcess::spawn() {
   const std::filesystem::path portFile = switchFile_.string() + ".port";
   std::filesystem::remove(portFile);
   std::vector< std::string > args = {MLAG_CONFIG_CHECKD, "--listen-api", "127.0.0.1:0",
                                      "--port-file", portFile.string()};
   args.insert(args.end(), options_.begin(), options_.end());
   args.push_back(switchFile_.string());
   std::vector< char * > argv;
   for (std::string & a : args) argv.push_back(a.data());
   argv.push_back(nullptr);
   pid_ = ::fork();
   if (pid_ == 0) {
      // The agent dies with the test, however the test ends, and holds none
      // of its output open.
      ::prctl(PR_SET_PDEATHSIG, SIGKILL);
      const int log = ::open(logFile_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
      ::dup2(log, STDERR_FILENO);
      ::dup2(log, STDOUT_FILENO);
      ::execv(MLAG_CONFIG_CHECKD, argv.data());
      ::_exit(127);
   }
   port_ = 0;
   eventually([&] {
      std::ifstream in(portFile);
      return static_cast< bool >(in >> port_);
   });
}

void AgentProcess::killAndRestart() {
   ::kill(pid_, SIGKILL);
   ::waitpid(pid_, nullptr, 0);
   spawn();
}

AgentProcess::~AgentProcess() {
   if (pid_ <= 0) return;
   ::kill(pid_, SIGKILL);
   ::waitpid(pid_, nullptr, 0);
}

HttpReply AgentProcess::get(const std::string & path) const {
   return httpExchange(port_,
                       "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n");
}

void AgentProcess::signal(int sig) const { ::kill(pid_, sig); }

int AgentProcess::terminate() {
   ::kill(pid_, SIGTERM);
   int status = 0;
   const bool exited = eventually([&] { return ::waitpid(pid_, &status, WNOHANG) == pid_; });
   if (!exited) return -1;
   pid_ = -1;
   return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string AgentProcess::log() const {
   std::ifstream in(logFile_);
   std::stringstream text;
   text << in.rdbuf();
   return text.str();
}
