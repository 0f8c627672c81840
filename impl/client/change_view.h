// The server's page of change numbers as a client sees it. It stays when the server goes: what was kept under it is
// then good no more.
#pragma once

#include <memory>

#include "impl/wire/change_page.h"
#include "impl/wire/fields.h"

namespace impl::client {

class Change_View {
 public:
  // Null when the descriptor is no page of this layout, or of a server that has ended.
  static std::shared_ptr<const Change_View> of(wire::Memory memory);
  ~Change_View();
  Change_View(const Change_View&) = delete;
  Change_View& operator=(const Change_View&) = delete;

  // Whether the server still serves.
  bool is_alive() const { return page_.owner.load(std::memory_order_relaxed) == owner_; }
  // The number of a key's hive, as long as this lives; null when the hive is not on the page.
  const std::atomic<std::uint64_t>* number_of(wire::Bytes key_id) const;

 private:
  Change_View(const wire::Change_Page& page, std::uint32_t owner) : page_(page), owner_(owner) {}

  const wire::Change_Page& page_;
  const std::uint32_t owner_;
};

}  // namespace impl::client
