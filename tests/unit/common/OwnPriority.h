#pragma once

namespace VX_QRS::test {

// The priority of the calling thread in the numbers that uThread takes.
int ownPriority();

} // namespace VX_QRS::test
