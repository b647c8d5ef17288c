#include "kandrel-post/out/posted_row.h"

#include <kandrel/post/model/posted_move_visitor.h>

namespace kandrel_post {

namespace {

// Reads what the classes have of their own.
class RowReader : public post::zvPostedVisitor {
 public:
  explicit RowReader(PostedRow& row) : m_row(row) {}

  void Visit(const post::zvPosted6axMove& move) override {
    m_row.angles = {move.GetAngle(0), move.GetAngle(1), move.GetAngle(2)};
    m_row.rotaryCount = 3;
    m_row.pole = move.GetPoleStatus();
  }
  void Visit(const post::zvPosted5axMove& move) override {
    m_row.angles = {move.GetAngle(0), move.GetAngle(1)};
    m_row.rotaryCount = 2;
    m_row.pole = move.GetPoleStatus();
  }
  void Visit(const post::zvPosted4axMove& move) override {
    m_row.angles = {move.GetRotaryAngle()};
    m_row.rotaryCount = 1;
  }
  void Visit(const post::zvPosted3axMove&) override {}
  void Visit(const post::zvPostedMove&) override {}

 private:
  PostedRow& m_row;
};

}  // namespace

PostedRow RowOf(const post::zvPostedMove& move) {
  PostedRow row{move, {}, 0, {}};
  RowReader reader(row);
  move.AcceptVisitor(reader);
  return row;
}

}  // namespace kandrel_post
