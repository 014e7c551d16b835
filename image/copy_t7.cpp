// Region copy and fill, tier t7: the kernels shared with w7.
#include "frame/dispatch.h"
#include "image/copy_vector.h"

namespace lum::t7 {
namespace {

struct Tier {};

}  // namespace

LUM_VECTOR_REGION_FAMILY

}  // namespace lum::t7
