// The starting record of each fractal type.
#include "model/params.h"

#include "model/tables.h"

FractalParams defaultsForType(const std::string& typeKey) {
  const FractalType& row = fractalTypes()[typeIndex(typeKey)];
  FractalParams p;
  p.type = row.key;
  row.applyDefaults(p);
  p.tx = p.ty = p.tz = 0;
  p.yaw = 35;
  p.pitch = 22;
  p.dist = row.camDist;
  return p;
}
