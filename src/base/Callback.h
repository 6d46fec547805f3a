#pragma once

#include <concepts>
#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace ble {

template <class Signature>
class Callback;

/// Something to call, owned by one: as `std::function`, but moved and never copied, and without an
/// allocation for a callable of up to two shared pointers. Calling an empty one is undefined.
template <class Result, class... Args>
class Callback<Result(Args...)> {
 public:
  Callback() = default;

  template <class Callable>
  requires(!std::same_as<std::remove_cvref_t<Callable>, Callback> &&
           std::is_invocable_r_v<Result, std::remove_cvref_t<Callable>&, Args...>)
      Callback(Callable&& callable) {  // NOLINT: converts from anything callable, as std::function
    using Kept = std::remove_cvref_t<Callable>;
    if constexpr (FitsInside<Kept>()) {
      ::new (static_cast<void*>(inside_)) Kept(std::forward<Callable>(callable));
      actions_ = &kActionsOf<Kept>;
    } else {
      auto kept = [outside = std::make_unique<Kept>(std::forward<Callable>(callable))](
                      Args... args) -> Result { return (*outside)(std::forward<Args>(args)...); };
      ::new (static_cast<void*>(inside_)) decltype(kept)(std::move(kept));
      actions_ = &kActionsOf<decltype(kept)>;
    }
  }

  Callback(Callback&& other) noexcept { TakeFrom(other); }
  Callback& operator=(Callback&& other) noexcept {
    if (this != &other) {
      Reset();
      TakeFrom(other);
    }
    return *this;
  }
  ~Callback() { Reset(); }

  explicit operator bool() const { return actions_ != nullptr; }

  Result operator()(Args... args) const {
    return actions_->call(inside_, std::forward<Args>(args)...);
  }

 private:
  static constexpr std::size_t kInside = 4 * sizeof(void*);

  /// What can be done with a callable of one type.
  struct Actions {
    Result (*call)(void* callable, Args&&... args);
    void (*move)(void* from, void* to) noexcept;  // and destroys what is left
    void (*destroy)(void* callable) noexcept;
  };

  template <class Kept>
  static constexpr bool FitsInside() {
    return sizeof(Kept) <= kInside && alignof(void*) % alignof(Kept) == 0 &&
           std::is_nothrow_move_constructible_v<Kept>;
  }

  template <class Kept>
  static constexpr Actions kActionsOf{
      [](void* callable, Args&&... args) -> Result {
        return (*static_cast<Kept*>(callable))(std::forward<Args>(args)...);
      },
      [](void* from, void* to) noexcept {
        ::new (to) Kept(std::move(*static_cast<Kept*>(from)));
        static_cast<Kept*>(from)->~Kept();
      },
      [](void* callable) noexcept { static_cast<Kept*>(callable)->~Kept(); }};

  void TakeFrom(Callback& other) noexcept {
    actions_ = std::exchange(other.actions_, nullptr);
    if (actions_ != nullptr) actions_->move(other.inside_, inside_);
  }
  void Reset() noexcept {
    if (const Actions* actions = std::exchange(actions_, nullptr)) actions->destroy(inside_);
  }

  const Actions* actions_ = nullptr;
  alignas(void*) mutable std::byte inside_[kInside];
};

}  // namespace ble
