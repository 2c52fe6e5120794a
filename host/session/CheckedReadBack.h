#pragma once

#include "diagnosis/stream/StreamCheck.h"
#include "host/session/Recording.h"

namespace host {

/// Reads every sample back and checks the stream in the same pass; `back` and `sink` get what came, also when it throws
/// Failure. The number of announced samples is added to what is known.
diagnosis::StreamCheck readBackChecked(Vx::Qrs::Trace::CChannelDriver& channel, ProgressLine& progress,
                                       diagnosis::StreamForm known, const SampleSink& sink, ReadBack& back);

} // namespace host
