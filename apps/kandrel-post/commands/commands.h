// The jobs that the command line asks for. Each throws for whatever fails: UsageError for a wrong
// command line, misc::zvException for the rest.
#pragma once

#include <kandrel/cadcam/point3d.h>
#include <kandrel/post/model/control_def.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kandrel_post {

/// What --tolerance says.
struct ToleranceOption {
  bool isOff = false;
  std::optional<double> tip;   ///< the path's units; without it 0.01 mm or 0.0005 in
  std::optional<double> axis;  ///< degrees; without it 0.1
};

/// What --line-tolerance says: how far a line may lie off where it should.
struct LineToleranceOption {
  double tip = 0;              ///< the path's units
  std::optional<double> axis;  ///< degrees; without it as the verifier's rules have it
};

struct PostOptions {
  std::string machine;
  std::string toolPathFile;
  std::string folder;
  cadcam::zvTPoint3d<double> origin;
  double toolLength = 0;
  std::vector<std::string> settings;  ///< NAME=VALUE
  post::zv5axControlDef control;
  bool small = false;
  std::uint32_t rapidLinkType = 5;
  ToleranceOption tolerance;
  std::optional<double> maxRotarySpeed;  ///< degrees a minute
  bool report = true;                    ///< with report.html
  bool refusedReport = false;            ///< also of a run that the kernel refuses
  std::optional<LineToleranceOption> lineTolerance;
};

/// Posts a toolpath, writes posted.csv, posted.nc, run.kdr, report.html and run.glb into the
/// folder, removes those of them that another run has left there, and prints the summary.
void RunPost(const PostOptions& options);

/// Holds the lines of a CSV file against the toolpath and the machine of the options, and prints
/// what is found; fails with error 0 where anything is. The folder is not used.
void RunVerify(const PostOptions& options, const std::string& postedFile);

/// Prints the names of the samples, each with what it is.
void ListSamples();
/// Prints a sample as CL text.
void PrintSample(const std::string& name);

/// Prints what a log, or one of its siblings, holds, in words or as JSON.
void ShowLog(const std::string& fileName, bool json);
/// Print the posted moves of a log as comma-separated values, and its toolpath as CL text.
void PrintLogCsv(const std::string& fileName);
void PrintLogCl(const std::string& fileName);
/// Posts the toolpath of a log again, with the tolerance, which a log doesn't hold; fails with
/// error 0 unless all lines are the stored ones.
void ReplayLog(const std::string& fileName, const ToleranceOption& tolerance);

/// Prints the names of the built-in machines, each with what it is.
void ListPresets();
/// Prints a machine in words or as JSON.
void ShowMachine(const std::string& machine, bool json);
/// Writes limits and rotary geometry of a machine in JSON into a machine description file.
void OverwriteMachine(const std::string& fileName, const std::string& from);

/// Prints the form, the number of triangles and the extents of an STL file, in words or as JSON.
void ShowSTL(const std::string& file, bool json);
/// Writes an STL file as a text or as a binary file; without `toText` in the form that it has.
void ConvertSTL(const std::string& in, const std::string& out, std::optional<bool> toText);
/// Prints the types of tools, each with the parameters of its own.
void ListTools();
/// Prints a tool in words or as JSON; `settings` are NAME=VALUE.
void ShowTool(const std::string& type, const std::vector<std::string>& settings, bool json);

struct ToolMeshOptions {
  std::string type;
  std::string file;
  std::vector<std::string> settings;  ///< NAME=VALUE
  double tolerance = 0.1;
  std::optional<int> part;  ///< by the number of cadcam::zvToolMeshPart; none for all of them
};

/// Writes the mesh of a tool as a binary STL file; one without a triangle as a text, as nothing
/// tells an empty binary file from other ones.
void MeshTool(const ToolMeshOptions& options);

}  // namespace kandrel_post
