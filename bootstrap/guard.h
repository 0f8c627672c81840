// The guards whose last one, as it goes, takes the library down.
#pragma once

inline namespace kelvane {

class Com_Globals {
 public:
  Com_Globals();
  ~Com_Globals();
  Com_Globals(const Com_Globals&) = delete;
  Com_Globals& operator=(const Com_Globals&) = delete;
};

}  // namespace kelvane
