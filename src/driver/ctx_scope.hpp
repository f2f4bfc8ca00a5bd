// Points the converter at a page's context for as long as that page is being
// converted, and back at the previous one afterwards, so that it never keeps
// a context that has gone.
#pragma once

#include "pagefold/converter.hpp"

namespace pagefold {

class CtxScope {
 public:
  CtxScope(PageFold& pf, Ctx* ctx) : pf_(pf), saved_(pf.ctx) { pf.ctx = ctx; }
  ~CtxScope() { pf_.ctx = saved_; }
  CtxScope(const CtxScope&) = delete;
  CtxScope& operator=(const CtxScope&) = delete;

 private:
  PageFold& pf_;
  Ctx* saved_;
};

}  // namespace pagefold
