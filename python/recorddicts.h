// Records as Python dicts with the keys `xse dump` writes in its JSON lines,
// in the same order: "kind", the common fields, then the record's own.
// Per-beam and per-sample values are numpy arrays (float32, quality uint8).
#pragma once

#include <pybind11/pybind11.h>

#include "xsereader/xsereader.h"

namespace xsepython {

pybind11::dict RecordDict(const xsereader::Record& record);
pybind11::dict ParameterDict(const quor::ParameterRec& record);

}  // namespace xsepython
