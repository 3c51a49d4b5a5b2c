// The module's start-up state, for the module's own entry points.
#pragma once

namespace xsereader {

// True between a successful attach and the detach: only then may the
// module hand out objects.
bool ModuleAttached();

}  // namespace xsereader
