// The object model keeps nothing that would have to be made at the start or destroyed at the end: what lives
// as long as the process is constant. These calls mark the span of its use.
#include <kelvane/bone.h>

void kelvane::global_init(int) {}

Clb_Globals::Clb_Globals() = default;

Clb_Globals::~Clb_Globals() = default;
