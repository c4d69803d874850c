#include "engine/modules/core/affine.h"

#include <cmath>

namespace morvex {
namespace {

constexpr double kSame = 1e-6;  // as much as numbers of single precision differ by
constexpr double kExact = 1e-14;

// VectorialPart leaves out the scale of a map that was made from a rigid one.
gp_Mat Linear(const gp_GTrsf& map) {
    gp_Mat matrix;
    for (int row = 1; row <= 3; ++row) {
        for (int column = 1; column <= 3; ++column) matrix.SetValue(row, column, map.Value(row, column));
    }
    return matrix;
}

bool IsIdentity(const gp_Mat& matrix, double tolerance) {
    double difference = 0;
    for (int row = 1; row <= 3; ++row) {
        for (int column = 1; column <= 3; ++column) {
            difference = std::max(difference, std::abs(matrix.Value(row, column) - (row == column ? 1 : 0)));
        }
    }
    return difference < tolerance;
}

}  // namespace

// Gram-Schmidt on the columns, which leaves a rest that is upper triangular.
AffineSplit SplitAffine(const gp_GTrsf& map) {
    AffineSplit split;
    const gp_Mat linear = Linear(map);
    gp_Vec x(linear.Column(1)), y(linear.Column(2));
    const double length = x.Magnitude();
    const double area = x.Crossed(y).Magnitude();
    constexpr double kFlat = 1e-12;
    if (!(length > kFlat) || !(area > kFlat * length) || !std::isfinite(area) ||
        std::abs(linear.Determinant()) < gp::Resolution()) {
        split.rest = map;
        split.restIsIdentity = false;
        return split;
    }
    x.Divide(length);
    y -= x * x.Dot(y);
    y.Normalize();
    const gp_Vec z = x.Crossed(y);
    const gp_XYZ& shift = map.TranslationPart();
    const gp_Mat turn(x.XYZ(), y.XYZ(), z.XYZ());
    if (!IsIdentity(turn, kExact) ||
        shift.Modulus() > gp::Resolution())  // else its form says that it is none
        split.rigid.SetValues(x.X(), y.X(), z.X(), shift.X(), x.Y(), y.Y(), z.Y(), shift.Y(), x.Z(), y.Z(),
                              z.Z(), shift.Z());
    const gp_Mat rest = turn.Transposed() * linear;
    split.restIsIdentity = IsIdentity(rest, kSame);
    if (!split.restIsIdentity) split.rest.SetVectorialPart(rest);
    return split;
}

Handle(Poly_Triangulation) Transformed(const Handle(Poly_Triangulation) & mesh, const gp_GTrsf& map) {
    Handle(Poly_Triangulation) copy = mesh->Copy();
    for (int node = 1; node <= copy->NbNodes(); ++node) {
        gp_XYZ point = copy->Node(node).XYZ();
        map.Transforms(point);
        copy->SetNode(node, point);
    }
    const gp_Mat linear = Linear(map);
    const double determinant = linear.Determinant();
    if (copy->HasNormals() && std::abs(determinant) > gp::Resolution()) {
        const gp_Mat turn = linear.Inverted().Transposed();
        for (int node = 1; node <= copy->NbNodes(); ++node) {
            gp_Vec3f own;  // of any length, none among them
            copy->Normal(node, own);
            const gp_XYZ normal = gp_XYZ(static_cast<double>(own.x()), static_cast<double>(own.y()),
                                         static_cast<double>(own.z()))
                                      .Multiplied(turn);
            if (normal.Modulus() > gp::Resolution()) copy->SetNormal(node, gp_Dir(normal));
        }
    }
    if (determinant >= 0) return copy;
    for (int at = 1; at <= copy->NbTriangles(); ++at) {
        int a, b, c;
        copy->Triangle(at).Get(a, b, c);
        copy->SetTriangle(at, Poly_Triangle(a, c, b));
    }
    return copy;
}

}  // namespace morvex
