#pragma once

namespace VX_QRS::test {

// The priority of the calling thread, as a number of uThread.
int ownPriority();

} // namespace VX_QRS::test
