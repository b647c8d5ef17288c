#include "kandrel-post/out/csv_writer.h"

#include <kandrel/post/model/posted_move.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace kandrel_post {

namespace {

void PutPoint(TextSink& sink, const post::zvPostedMove::Point& p) {
  sink.PutShortest(p.x);
  sink.Put(',');
  sink.PutShortest(p.y);
  sink.Put(',');
  sink.PutShortest(p.z);
  sink.Put(',');
}

}  // namespace

CsvWriter::CsvWriter(TextSink& sink) : m_sink(sink) {
  m_sink.Put(
      "index,type,rapid,feed,time,x,y,z,r1,r2,r3,part_x,part_y,part_z,i,j,k,pole,source,"
      "inserted\n");
}

void CsvWriter::Write(const PostedRow& row) {
  const post::zvPostedMove& move = row.move;
  m_sink.PutInteger(m_index++);
  m_sink.Put(',');
  m_sink.PutInteger(static_cast<std::uint64_t>(move.GetType()));
  m_sink.Put(move.IsRapid() ? ",1," : ",0,");
  m_sink.PutShortest(move.GetFeed());
  m_sink.Put(',');
  m_sink.PutShortest(move.GetMoveTime());
  m_sink.Put(',');
  PutPoint(m_sink, move.GetMachinePosition());
  for (int i = 0; i < 3; ++i) {
    if (i < row.rotaryCount) m_sink.PutShortest(row.angles[static_cast<std::size_t>(i)]);
    m_sink.Put(',');
  }
  PutPoint(m_sink, move.GetPartPosition());
  PutPoint(m_sink, move.GetOrientation());
  if (row.pole) m_sink.PutInteger(*row.pole);
  m_sink.Put(',');
  if (!move.HasNoExtended()) {
    // -1 in front of the first move of the toolpath, as old logs have it.
    if (move.GetSourceIndex() < 0) m_sink.Put('-');
    m_sink.PutInteger(static_cast<std::uint64_t>(std::abs(std::int64_t{move.GetSourceIndex()})));
  }
  m_sink.Put(',');
  if (!move.HasNoExtended()) m_sink.Put(move.IsInserted() ? '1' : '0');
  m_sink.Put('\n');
}

}  // namespace kandrel_post
