#ifndef TESTS_CONTRACT_CGI_REQUEST_H_
#define TESTS_CONTRACT_CGI_REQUEST_H_

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>

#include "platform/kestcgi.h"

/// A request as a web server hands it to a program: environment and standard input. Run() makes a process for it, so
/// that nothing of one request is left for the next.
class CgiRequest {
 public:
  static CgiRequest Get(const std::string& query) {
    CgiRequest request;
    return request.Set("REQUEST_METHOD", "GET").Set("QUERY_STRING", query);
  }

  /// A POST with this body; the length is announced as it is.
  static CgiRequest Post(const std::string& body, const std::string& type = "application/x-www-form-urlencoded") {
    CgiRequest request;
    request.Set("REQUEST_METHOD", "POST").Set("QUERY_STRING", "").Set("CONTENT_TYPE", type);
    return request.Set("CONTENT_LENGTH", std::to_string(body.size())).Body(body);
  }

  CgiRequest& Set(const std::string& name, const std::string& value) {
    environment_[name] = value;
    return *this;
  }
  CgiRequest& Unset(const std::string& name) {
    environment_.erase(name);
    return *this;
  }
  CgiRequest& Body(const std::string& body) {
    body_ = body;
    return *this;
  }
  /// Hands the body over in pieces of so many bytes, as a slow client does.
  CgiRequest& InPieces(size_t bytes) {
    piece_bytes_ = bytes;
    return *this;
  }

  /// Runs the program as a process of its own.
  /// @return what it printed; "(signal N)" or "(exit N)" in front when it did not end well
  std::string Run(const std::function<void()>& program) const {
    const int output = memfd_create("output", 0);
    fflush(stdout);  // the child would print what is buffered here again
    const pid_t child = fork();
    if (child == 0) {
      clearenv();
      for (const auto& [name, value] : environment_) setenv(name.c_str(), value.c_str(), 1);
      ProvideBody();
      dup2(output, STDOUT_FILENO);
      program();
      fflush(stdout);
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    std::string text;
    if (WIFSIGNALED(status)) text = "(signal " + std::to_string(WTERMSIG(status)) + ")";
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0) text = "(exit " + std::to_string(WEXITSTATUS(status)) + ")";
    char buffer[65536];
    lseek(output, 0, SEEK_SET);
    for (ssize_t got = 0; (got = read(output, buffer, sizeof(buffer))) > 0;)
      text.append(buffer, static_cast<size_t>(got));
    close(output);
    return text;
  }

 private:
  void ProvideBody() const {
    if (piece_bytes_ > 0) return ProvidePieces();
    const int input = memfd_create("body", 0);
    if (write(input, body_.data(), body_.size()) < 0) abort();
    lseek(input, 0, SEEK_SET);
    dup2(input, STDIN_FILENO);
  }

  void ProvidePieces() const {
    int ends[2];
    if (pipe(ends) != 0) abort();
    if (fork() == 0) {
      signal(SIGPIPE, SIG_DFL);
      for (size_t i = 0; i < body_.size(); i += piece_bytes_) {
        const size_t left = body_.size() - i;
        if (write(ends[1], body_.data() + i, left < piece_bytes_ ? left : piece_bytes_) < 0) break;
      }
      _exit(0);
    }
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    close(ends[1]);
  }

  std::map<std::string, std::string> environment_;
  std::string body_;
  size_t piece_bytes_ = 0;
};

/// A context that is initialised and released like any other resource.
class CgiContext {
 public:
  explicit CgiContext(const char* text_root = "") { KestCgiInit(text_root, &context_); }
  ~CgiContext() { KestCgiFree(&context_); }
  CgiContext(const CgiContext&) = delete;
  CgiContext& operator=(const CgiContext&) = delete;

  KESTCGI* get() { return &context_; }

 private:
  KESTCGI context_;
};

/// What a program prints of its request's refusal: the header block of its reply with nothing else in it.
inline std::string RefusalBlock(const std::string& status, const std::string& reason) {
  return "Status: " + status + "\r\nx-request-refused: " + reason + "\r\n\r\n";
}
inline const char kNoRefusal[] = "\r\n";

#endif  // TESTS_CONTRACT_CGI_REQUEST_H_
