// The shared library the converter loads by name: it exports only the
// factory, which creates the module without opening anything.
#include "module.hpp"

extern "C" __attribute__((visibility("default"))) pagefold::GenRes* pagefold_gen_res_create() {
  return new pagefold::genres::GenResModule();
}
