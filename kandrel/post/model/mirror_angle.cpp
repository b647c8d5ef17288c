#include <kandrel/post/model/mirror_angle.h>

namespace post {

zvPosted5axMove FirstSolutionMove(const zvSolutionPair& pair) {
  return pair.first;
}

zvPosted5axMove MirrorSolutionMove(const zvSolutionPair& pair) {
  zvPosted5axMove move = pair.first;
  move.SetAngle(pair.second.firstAngle, 0);
  move.SetAngle(pair.second.secondAngle, 1);
  move.SetMachinePosition(pair.second.machinePosition);
  return move;
}

}  // namespace post
