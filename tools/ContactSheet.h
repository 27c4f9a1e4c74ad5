#pragma once

#include "tools/FrameGrabber.h"
#include "tools/Picture.h"

namespace JY::Tools {

/// A sheet of small pictures spread evenly over the film, each with its time.
/// @throws Failure, also when the film's duration is not known.
Picture makeContactSheet(FrameGrabber& film, unsigned columns, unsigned rows);

} // namespace JY::Tools
