#include "views/Progress.h"

namespace corvaneble::tool {

void DiscoveryProgress::OnEvent(const AnyEvent& event) {
  const auto* found = std::get_if<DiscoveredEvent>(&event);
  if (!found) return;
  ++counts_.at(static_cast<std::size_t>(found->type));
  Show("discovered " + std::to_string(counts_[0]) + " services, " + std::to_string(counts_[1]) +
       " characteristics, " + std::to_string(counts_[2]) + " descriptors");
}

void DiscoveryProgress::OnRead(int values) {
  Show("read " + std::to_string(values) + " values");
}

void DiscoveryProgress::Show(const std::string& text) {
  const auto now = std::chrono::steady_clock::now();
  if (now - shown_ < std::chrono::milliseconds(100)) return;
  shown_ = now;
  line_.Show(text);
}

}  // namespace corvaneble::tool
