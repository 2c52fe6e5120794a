#pragma once

namespace diagnosis::page {

/// The style sheet of the report: light, dark as the reader's system asks, and plain when printed.
const char* styleSheet();

} // namespace diagnosis::page
