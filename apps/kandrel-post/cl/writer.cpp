#include "kandrel-post/cl/writer.h"

#include <kandrel/cadcam/cnc_move.h>
#include <kandrel/cadcam/point3d.h>
#include <kandrel/cadcam/tp_section.h>
#include <kandrel/misc/units_factory.h>

#include <algorithm>
#include <string>

#include "kandrel-post/host/errors.h"
#include "kandrel-post/out/text_sink.h"

namespace kandrel_post {

namespace {

using cadcam::zvMovePointer;
using Point = cadcam::zvTPoint3d<double>;

constexpr Point kAlongZ{0, 0, 1};

void PutPoint(TextSink& sink, const Point& p) {
  sink.PutShortest(p.x);
  sink.Put(',');
  sink.PutShortest(p.y);
  sink.Put(',');
  sink.PutShortest(p.z);
}

// A name that ends neither its statement nor its line, and joins it to no other.
std::string InStatement(std::string_view name) {
  std::string text = Printable(name);
  std::replace(text.begin(), text.end(), '$', '?');
  return text;
}

// Writes what changes from move to move.
class MoveWriter {
 public:
  explicit MoveWriter(TextSink& sink) : m_sink(sink) {}

  void Write(const cadcam::zvCNCMove& move) {
    if (move.GetFeed() != m_feed) {
      m_feed = move.GetFeed();
      m_sink.Put("FEDRAT/");
      m_sink.PutShortest(m_feed);
      m_sink.Put('\n');
    }
    if (move.IsRapid()) m_sink.Put("RAPID\n");
    m_sink.Put("GOTO/");
    PutPoint(m_sink, move.GetPosition());
    if (!(move.GetOrientation() == m_axis)) {
      m_axis = move.GetOrientation();
      m_sink.Put(',');
      PutPoint(m_sink, m_axis);
    }
    m_sink.Put('\n');
  }

 private:
  TextSink& m_sink;
  double m_feed = 0;
  Point m_axis = kAlongZ;
};

}  // namespace

void WriteCl(TextSink& sink, const cadcam::zvToolPath& toolPath, std::string_view partName) {
  sink.Put("PARTNO/");
  sink.Put(InStatement(partName));
  sink.Put(toolPath.GetUnits() == measures::zvUnitsFactory::inch ? "\nUNITS/INCHES\n"
                                                                 : "\nUNITS/MM\n");
  const bool tilted = std::any_of(toolPath.begin(), toolPath.end(), [](const zvMovePointer& move) {
    return !(move->GetOrientation() == kAlongZ);
  });
  if (tilted) sink.Put("MULTAX/ON\n");
  MoveWriter writer(sink);
  for (const auto& pass : toolPath.Children()) {
    sink.Put("$$ PASS\n");
    for (const auto& slice : pass->Children()) {
      sink.Put("$$ SLICE\n");
      for (const auto& section : slice->Children()) {
        cadcam::zvTPSLinkVisitor visitor;
        section->AcceptVisitor(visitor);
        if (visitor.IsLink()) {
          sink.Put("$$ LINK ");
          sink.PutInteger(visitor.GetLinkType());
          sink.Put('\n');
        } else {
          sink.Put("$$ CONTOUR\n");
        }
        for (const zvMovePointer& move : *section) writer.Write(*move);
      }
    }
  }
  sink.Put("FINI\n");
}

}  // namespace kandrel_post
