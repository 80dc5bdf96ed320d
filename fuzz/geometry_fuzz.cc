// Contexts and geometry.
//
// The first byte chooses. Odd: a context of any doubles at all; whether a conversion succeeds and
// each bit of its result must be what the literal formulas give. Even: a context of tame numbers,
// whose results must be those of the same formulas in long double within 1e-9 of the size of what
// goes in, and whose way there and back must lead to where it began. Then a geometric request of
// any doubles, against its formula.

#include <bit>
#include <cmath>
#include <optional>
#include <string>

#include "fuzz/law.h"
#include "geometry/coord_context.h"
#include "geometry/geometric_request.h"
#include "geometry/transforms.h"
#include "lisp_worker/worker/frame.h"
#include "testing/reference/literal_context.h"

namespace {

using geometry::CoordContext;
using geometry::Point;
using Wide = long double;

// Tame numbers: sixteenths from -128 to 128.
double tame(lisp_worker::fuzz::Input& input) {
  return static_cast<std::int16_t>(input.byte() | input.byte() << 8) / 256.0;
}

CoordContext makeContext(lisp_worker::fuzz::Input& input, bool is_tame) {
  const auto draw = [&] { return is_tame ? tame(input) : input.number(); };
  const auto draw_plane = [&](geometry::PlanarMapping& plane) {
    plane = {
        .origin_x = draw(), .origin_y = draw(), .a = draw(), .b = draw(), .c = draw(), .d = draw()};
  };
  CoordContext context;
  for (geometry::PlanarSystem& system : context.systems) {
    draw_plane(system.plane);
    system.z_scale = draw();
    system.z_offset = draw();
  }
  draw_plane(context.cell_plane);
  context.cell_z_scale = draw();
  context.cell_z_offset = draw();
  context.cell_size = draw();
  context.cell_key_seed = static_cast<std::uint64_t>(input.byte());
  context.tag = input.byte();
  return context;
}

lisp_worker::testing_support::LiteralContext literalOf(const CoordContext& context) {
  lisp_worker::testing_support::LiteralContext literal;
  for (std::size_t s = 0; s < geometry::kSystemCount; ++s) {
    const geometry::PlanarSystem& from = context.systems[s];
    literal.systems[s] = {from.plane.origin_x, from.plane.origin_y, from.plane.a, from.plane.b,
                          from.plane.c,        from.plane.d,        from.z_scale, from.z_offset};
  }
  return literal;
}

bool sameBits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

void checkAgainstLiteral(const CoordContext& context, const Point& point, std::size_t s,
                         std::size_t t) {
  const std::optional<Point> got = geometry::convert(context, point, s, t);
  const auto expected = lisp_worker::testing_support::literalConvert(
      literalOf(context), {point.x, point.y, point.z}, s, t);
  lisp_worker::fuzz::require(got.has_value() == expected.has_value(), "both convert or both fail");
  if (!got) return;
  lisp_worker::fuzz::require(sameBits(got->x, expected->x) && sameBits(got->y, expected->y) &&
                                 sameBits(got->z, expected->z),
                             "both convert to the same bits");
}

// A mapping of tame numbers in long double.
struct WidePlane {
  Wide ox, oy, a, b, c, d;
  explicit WidePlane(const geometry::PlanarMapping& from)
      : ox(from.origin_x), oy(from.origin_y), a(from.a), b(from.b), c(from.c), d(from.d) {}
  [[nodiscard]] Wide determinant() const { return a * d - c * b; }
};

struct WidePoint {
  Wide x, y, z;
};

WidePoint forward(const WidePlane& p, Wide z_scale, Wide z_offset, const WidePoint& q) {
  return {p.ox + p.a * q.x + p.c * q.y, p.oy + p.b * q.x + p.d * q.y, z_scale * q.z + z_offset};
}

WidePoint backward(const WidePlane& p, Wide z_scale, Wide z_offset, const WidePoint& q) {
  const Wide x = q.x - p.ox;
  const Wide y = q.y - p.oy;
  return {(p.d * x - p.c * y) / p.determinant(), (p.a * y - p.b * x) / p.determinant(),
          (q.z - z_offset) / z_scale};
}

// Coordinates are below 2^15 and entries of matrices below 2^7, so a determinant of at least 1/4
// leaves results below some 2^40, computed to a relative 2^-45 of that.
constexpr Wide kTolerance = 1e-9L * (1 << 15);
constexpr Wide kDeterminantMin = 0.25L;

bool isNear(const Point& a, const WidePoint& b) {
  const Wide scale = 1 + std::fabs(b.x) + std::fabs(b.y) + std::fabs(b.z);
  return std::fabs(a.x - b.x) <= kTolerance * scale && std::fabs(a.y - b.y) <= kTolerance * scale &&
         std::fabs(a.z - b.z) <= kTolerance * scale;
}

bool isInvertible(const geometry::PlanarMapping& plane, double z_scale) {
  return std::fabs(WidePlane(plane).determinant()) >= kDeterminantMin && std::fabs(z_scale) >= 0.25;
}

void checkAgainstFormulas(const CoordContext& context, const Point& point, std::size_t s,
                          std::size_t t) {
  const geometry::PlanarSystem& from = context.systems[s];
  const geometry::PlanarSystem& to = context.systems[t];
  const WidePoint wide{point.x, point.y, point.z};
  if (isInvertible(from.plane, from.z_scale) && isInvertible(to.plane, to.z_scale)) {
    const std::optional<Point> got = geometry::convert(context, point, s, t);
    lisp_worker::fuzz::require(got.has_value(), "tame systems convert");
    const WidePoint world = forward(WidePlane(from.plane), from.z_scale, from.z_offset, wide);
    lisp_worker::fuzz::require(
        isNear(*got, backward(WidePlane(to.plane), to.z_scale, to.z_offset, world)),
        "a conversion follows its formula");
    const std::optional<Point> back = geometry::convert(context, *got, t, s);
    lisp_worker::fuzz::require(back.has_value() && isNear(*back, wide),
                               "there and back is where it began");
  }
  if (!isInvertible(context.cell_plane, context.cell_z_scale)) return;
  const WidePlane cells(context.cell_plane);
  if (isInvertible(to.plane, to.z_scale)) {
    const std::optional<Point> got = geometry::cell_plane_to_system(context, point, t);
    lisp_worker::fuzz::require(got.has_value(), "a tame cell plane maps");
    const WidePoint world = forward(cells, context.cell_z_scale, context.cell_z_offset, wide);
    lisp_worker::fuzz::require(
        isNear(*got, backward(WidePlane(to.plane), to.z_scale, to.z_offset, world)),
        "the cell plane follows its formula");
  }
  if (std::fabs(from.z_scale) < 0.25 || !(context.cell_size >= 0.25)) return;
  const std::optional<geometry::CellLocation> cell = geometry::locate_cell(context, point, s);
  lisp_worker::fuzz::require(cell.has_value(), "a tame cell is found");
  const WidePoint world = forward(WidePlane(from.plane), from.z_scale, from.z_offset, wide);
  lisp_worker::fuzz::require(
      isNear({cell->u, cell->v, cell->w},
             backward(cells, context.cell_z_scale, context.cell_z_offset, world)),
      "a cell's place follows its formula");
  lisp_worker::fuzz::require(
      std::floor(cell->u / context.cell_size) == static_cast<double>(cell->i) &&
          std::floor(cell->v / context.cell_size) == static_cast<double>(cell->j),
      "a cell holds its point");
  lisp_worker::fuzz::require(
      cell->tag == context.tag &&
          cell->key == geometry::cell_key(cell->i, cell->j, context.cell_key_seed),
      "a cell has its context's tag and seed");
}

// The request's result by its formula; the caller has checked count and operands.
std::optional<double> resultOf(std::uint8_t operation, std::uint8_t count, const double* x) {
  double result = operation == 3 ? 1.0 : operation == 1 ? 0.0 : x[0];
  switch (operation) {
    case 1:
      for (int i = 0; i < count; ++i) result = result + x[i];
      return result;
    case 2:
      for (int i = 1; i < count; ++i) result = result - x[i];
      return result;
    case 3:
      for (int i = 0; i < count; ++i) result = result * x[i];
      return result;
    case 4:
      for (int i = 1; i < count; ++i) {
        if (std::fabs(x[i]) <= 1e-300) return std::nullopt;
        result = result / x[i];
      }
      return result;
    case 5:
      return std::hypot(x[2] - x[0], x[3] - x[1]);
    case 6:
      return std::atan2(x[3] - x[1], x[2] - x[0]);
    default:
      return x[0] + x[3] * std::cos(x[2]);
  }
}

void checkRequest(lisp_worker::fuzz::Input& input) {
  using geometry::GeometryOutcome;
  geometry::GeometryRequest request;
  request.operation = input.byte() % 10;
  request.count = input.byte() % 10;
  const bool is_tame = input.byte() % 2 != 0;
  for (double& operand : request.operands) operand = is_tame ? tame(input) : input.number();
  const geometry::GeometryResult result = geometry::compute_geometric_request(request);

  const bool is_known = request.operation >= 1 && request.operation <= 7;
  bool are_operands_good = request.count <= geometry::kOperandCountMax;
  for (std::size_t i = 0; are_operands_good && i < request.count; ++i) {
    are_operands_good = std::isfinite(request.operands[i]);
  }
  const std::uint8_t least = request.operation == 4 ? 2 : 1;
  const bool is_count_good = request.operation >= 5 ? request.count == 4 : request.count >= least;
  GeometryOutcome expected = GeometryOutcome::Computed;
  double x = 0;
  double y = 0;
  if (!are_operands_good) {
    expected = GeometryOutcome::BadOperands;
  } else if (!is_known) {
    expected = GeometryOutcome::UnknownOperation;
  } else if (!is_count_good) {
    expected = GeometryOutcome::BadOperands;
  } else {
    const auto& o = request.operands;
    const std::optional<double> value = resultOf(request.operation, request.count, o.data());
    x = value.value_or(0);
    if (request.operation == 7) y = o[1] + o[3] * std::sin(o[2]);
    if (!value || !std::isfinite(x) || !std::isfinite(y)) expected = GeometryOutcome::Degenerate;
  }
  lisp_worker::fuzz::require(result.outcome == expected,
                             "a geometric request is judged in its order");
  const bool same = (sameBits(result.x, x) || (std::isnan(result.x) && std::isnan(x))) &&
                    (sameBits(result.y, y) || (std::isnan(result.y) && std::isnan(y)));
  lisp_worker::fuzz::require(same, "a geometric request follows its formula",
                             std::to_string(request.operation));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  lisp_worker::fuzz::Input input(data, size);
  const bool is_tame = input.byte() % 2 == 0;
  const std::size_t s = input.byte() % (is_tame ? 5 : 7);
  const std::size_t t = input.byte() % (is_tame ? 5 : 7);
  checkRequest(input);
  const Point point = is_tame ? Point{tame(input), tame(input), tame(input)}
                              : Point{input.number(), input.number(), input.number()};
  const CoordContext context = makeContext(input, is_tame);
  checkAgainstLiteral(context, point, s, t);
  if (is_tame) checkAgainstFormulas(context, point, s, t);
  return 0;
}
