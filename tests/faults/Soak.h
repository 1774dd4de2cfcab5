#pragma once

namespace faults {

/// Plays for hours what other faults play for seconds: a quarter of the time as many instances as
/// the registry takes, with editors open and edits arriving; the rest of it a few, while others
/// open, close, pair and are killed. Writes what has been measured as lines of three fields
/// separated by tabs: what, under load, in the churn. False when anything was not as it must be,
/// with a line that says what; how long blocks take is measured, and no failure.
bool soak(double minutes);

} // namespace faults
