#include "toolkit/W.h"

#include "toolkit/WX11Procs.h"

std::uint8_t W_wlibError = 0;
std::uint8_t W_srvErrorEv = 0;

#define W_DEFINE_PROCEDURE(module, result, name, params) \
  result(*W_##name) params = &WX11##module##_##name;
W_PROCEDURES(W_DEFINE_PROCEDURE)
#undef W_DEFINE_PROCEDURE

void W_InitForX11() {
#define W_FILL_PROCEDURE(module, result, name, params) W_##name = &WX11##module##_##name;
  W_PROCEDURES(W_FILL_PROCEDURE)
#undef W_FILL_PROCEDURE
}
