// A reference to something that can be called; it owns nothing and is for parameters only.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace hive {

template <typename Signature>
class Function_Ref;

template <typename Result, typename... Arguments>
class Function_Ref<Result(Arguments...)> {
 public:
  template <typename Callable>
  requires(!std::is_same_v<std::remove_cvref_t<Callable>, Function_Ref>) Function_Ref(Callable&& callable)
      : callable_(const_cast<void*>(static_cast<const void*>(std::addressof(callable)))),
        call_([](void* target, Arguments... arguments) -> Result {
          return (*static_cast<std::remove_reference_t<Callable>*>(target))(std::forward<Arguments>(arguments)...);
        }) {}

  Result operator()(Arguments... arguments) const { return call_(callable_, std::forward<Arguments>(arguments)...); }

 private:
  void* callable_;
  Result (*call_)(void*, Arguments...);
};

}  // namespace hive
