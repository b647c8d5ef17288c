// The command line: what may stand there, and what it starts.
#pragma once

namespace kandrel_post {

/// Runs the job that the arguments ask for; returns the exit code and never throws.
int RunCommandLine(int argc, const char* const* argv) noexcept;

}  // namespace kandrel_post
