// Vertices joined by lines and arcs: polylines, and the outlines of hatches.
//
// A group 42 behind a vertex, its bulge, makes the piece to the next one an arc: the bulge is the
// tangent of a quarter of the arc's angle, above 0 against the clock. 1 is half a circle, 0 a line.

#ifndef CONSOLE_POLYLINE_H_
#define CONSOLE_POLYLINE_H_

#include <optional>
#include <string>
#include <vector>

#include "console/entity.h"
#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/datum.h"

namespace lisp_worker::console {

struct Vertex {
  client::Point at;
  double bulge = 0;  // Of the piece that begins here.
};

struct VertexChain {
  std::vector<Vertex> vertices;
  bool is_closed = false;
};

// Of a polyline one chain, of a hatch its outlines; of other entities none.
[[nodiscard]] std::vector<VertexChain> chainsOf(const Entity& entity);

// True for entities whose vertices make up chains.
[[nodiscard]] bool hasChains(const client::DatumList& groups);

// True for the groups of a vertex and of an outline, whose order matters.
[[nodiscard]] bool isVertexGroup(const client::Datum& group);

// The mistake in the vertices of a polyline or hatch, for a person; empty when there is none.
[[nodiscard]] std::string whyNoChains(const client::DatumList& groups);

// The closed chain of a circle, or of a polyline that is closed or returns to its beginning. Empty
// for other entities.
[[nodiscard]] std::optional<VertexChain> closedChainOf(const Entity& entity);

struct ArcPiece {
  client::Point centre;
  double radius = 0;
  double start = 0;  // In radians.
  double sweep = 0;  // Above 0 against the clock.
};

// Empty for a line, also when the bulge or the distance is too small for an arc.
[[nodiscard]] std::optional<ArcPiece> arcBetween(const client::Point& from, const client::Point& to,
                                                 double bulge);

}  // namespace lisp_worker::console

#endif  // CONSOLE_POLYLINE_H_
