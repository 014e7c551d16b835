// Region copy and fill, tier w7: the kernels shared with t7.
#include "frame/dispatch.h"
#include "image/copy_vector.h"

namespace lum::w7 {
namespace {

struct Tier {};

}  // namespace

LUM_VECTOR_REGION_FAMILY

}  // namespace lum::w7
