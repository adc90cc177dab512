#include "AgentProcess.h"

#include <arpa/inet.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

Exchange exchange(int port, const std::string & bytes, int wait, const char * source) {
   Exchange out;
   const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
   sockaddr_in from{}, to{};
   from.sin_family = to.sin_family = AF_INET;
   ::inet_pton(AF_INET, source, &from.sin_addr);
   to.sin_port = htons(static_cast< std::uint16_t >(port));
   to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
   if (fd >= 0 && ::bind(fd, reinterpret_cast< sockaddr * >(&from), sizeof from) == 0 &&
       ::connect(fd, reinterpret_cast< sockaddr * >(&to), sizeof to) == 0) {
      ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      timeval silence{wait, 0};
      ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &silence, sizeof silence);
      char buffer[4096];
      ssize_t n;
      while ((n = ::recv(fd, buffer, sizeof buffer, 0)) > 0) out.text.append(buffer, n);
      out.closed = n == 0 || (n < 0 && errno == ECONNRESET);
   }
   if (fd >= 0) ::close(fd);
   return out;
}

HttpReply httpExchange(int port, const std::string & request) {
   const std::string text = exchange(port, request).text;
   const std::size_t end = text.find("\r\n\r\n");
   if (text.compare(0, 9, "HTTP/1.1 ") != 0 || end == std::string::npos) return {};
   return {std::stoi(text.substr(9, 3)), text.substr(0, end), text.substr(end + 4)};
}

bool eventually(const std::function< bool() > & done) {
   for (int i = 0; i < 1000; ++i) {
      if (done()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
   }
   return done();
}

int portIn(const std::filesystem::path & file) {
   int port = 0;
   eventually([&] { return static_cast< bool >(std::ifstream(file) >> port); });
   return port;
}

TestDir::TestDir() {
   std::string name = (std::filesystem::temp_directory_path() / "agent-test-XXXXXX").string();
   path = ::mkdtemp(name.data());
}

AgentProcess::AgentProcess(const std::filesystem::path & switchFile,
                           std::vector< std::string > options)
      : switchFile_(switchFile),
        logFile_(switchFile.string() + ".log"),
        options_(std::move(options)) {
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
   port_ = portIn(portFile);
}

void AgentProcess::kill() {
   if (pid_ <= 0) return;
   ::kill(pid_, SIGKILL);
   ::waitpid(pid_, nullptr, 0);
}

HttpReply AgentProcess::get(const std::string & path) const {
   return httpExchange(port_,
                       "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n");
}

nlohmann::json AgentProcess::json(const std::string & path) const {
   nlohmann::json j = nlohmann::json::parse(get(path).body, nullptr, false);
   return j.is_object() ? j : nlohmann::json::object();
}

void AgentProcess::signal(int sig) const { ::kill(pid_, sig); }

int AgentProcess::terminate() {
   ::kill(pid_, SIGTERM);
   int status = 0;
   if (!eventually([&] { return ::waitpid(pid_, &status, WNOHANG) == pid_; })) return -1;
   pid_ = -1;
   return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string AgentProcess::log() const {
   std::ifstream in(logFile_);
   return {std::istreambuf_iterator< char >(in), {}};
}

std::pair< int, std::string > runTool(const std::string & arguments) {
   std::FILE * pipe =
      ::popen((std::string(MLAG_CONFIG_CHECK) + " " + arguments + " 2>/dev/null").c_str(), "r");
   std::string out;
   char buffer[4096];
   std::size_t n;
   while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
   const int status = ::pclose(pipe);
   return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}
