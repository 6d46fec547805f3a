#include "gatt/Link.h"

#include <utility>

namespace corvaneble::tool {

Link::Link(Client& client, std::string address) : client_(client), address_(std::move(address)) {
  client_.Connect(address_);
}

Link::~Link() {
  try {
    client_.Disconnect();
  } catch (const Error&) {  // the client is about to be destroyed, which closes the link
  }
}

void Link::Renew() {
  client_.Disconnect();
  client_.Connect(address_);
}

bool LinkIsGone(int code) {
  return code == CORVANEBLE_ERROR_TIMEOUT || code == CORVANEBLE_ERROR_NOT_CONNECTED ||
         code == CORVANEBLE_ERROR_UNREACHABLE;
}

}  // namespace corvaneble::tool
