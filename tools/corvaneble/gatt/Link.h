#pragma once

#include <corvaneble/corvaneble.hpp>
#include <string>

namespace corvaneble::tool {

/// A connection to a server, for the lifetime of the object.
class Link {
 public:
  Link(Client& client, std::string address);
  ~Link();
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  /// Disconnects and connects again. Nothing is discovered afterwards.
  void Renew();

 private:
  Client& client_;
  const std::string address_;
};

/// Whether an error code means that the server no longer answers.
bool LinkIsGone(int code);

}  // namespace corvaneble::tool
