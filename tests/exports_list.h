// The canonical export list as the tests see it.
#pragma once

#include <set>
#include <string>

namespace lumtest {

struct ExportSets {
    std::set<std::string> direct;
    std::set<std::string> rows;
    std::set<std::string> pending;
};

inline ExportSets canonicalExports()
{
    ExportSets s;
#define LUM_DIRECT(name) s.direct.insert(#name);
#define LUM_ROW(name, s0, s1, s2, s3) s.rows.insert(#name);
#define LUM_PENDING(name, s0, s1, s2, s3) s.pending.insert(#name);
#include "frame/exports.inc"
    return s;
}

}  // namespace lumtest
