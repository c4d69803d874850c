#include "engine/modules/drawing/line_pieces.h"

#include <algorithm>
#include <cmath>

namespace morvex {
namespace {

constexpr double kStep = 1e-7;  // of the size: what is not told apart

using Corner = std::array<std::int64_t, 2>;

// Puts pieces together at corners where just two meet.
class Chain {
  public:
    Chain(const std::vector<Piece>& pieces, double step)
        : pieces_(pieces), step_(step), used_(pieces.size()) {
        for (std::size_t at = 0; at < pieces.size(); ++at) {
            for (const Point2d& end : pieces[at]) ends_[CornerOf(end)].push_back(at);
        }
    }

    std::vector<Polyline> Lines() {
        std::vector<Polyline> lines;
        for (std::size_t at = 0; at < pieces_.size(); ++at) {
            if (used_[at]) continue;
            used_[at] = true;
            Polyline line{pieces_[at][1], pieces_[at][0]};
            Extend(line);
            std::ranges::reverse(line);
            Extend(line);
            lines.push_back(std::move(line));
        }
        return lines;
    }

  private:
    Corner CornerOf(const Point2d& point) const {
        return {std::llround(point[0] / step_), std::llround(point[1] / step_)};
    }

    void Extend(Polyline& line) {
        for (;;) {
            const Corner end = CornerOf(line.back());
            const std::vector<std::size_t>& meeting = ends_.at(end);
            if (meeting.size() != 2) return;
            const std::size_t next = used_[meeting[0]] ? meeting[1] : meeting[0];
            if (used_[next]) return;
            used_[next] = true;
            const Piece& piece = pieces_[next];
            line.push_back(CornerOf(piece[0]) == end ? piece[1] : piece[0]);
        }
    }

    const std::vector<Piece>& pieces_;
    double step_;
    std::vector<bool> used_;
    std::map<Corner, std::vector<std::size_t>> ends_;
};

}  // namespace

void LinePieces::Add(const Piece& piece) {
    const double right = piece[1][0] - piece[0][0], up = piece[1][1] - piece[0][1];
    const double length = std::hypot(right, up);
    if (!(length > kStep * size_)) return;
    // Opposite directions have the same double angle; of them the one is taken that leads upwards.
    Point2d along{right / length, up / length};
    if (along[1] < -kStep || (along[1] < kStep && along[0] < 0)) along = {-along[0], -along[1]};
    const auto steps = [](double number) { return std::llround(number / kStep); };
    const double aside = along[0] * piece[0][1] - along[1] * piece[0][0];
    const Key key{steps(along[0] * along[0] - along[1] * along[1]), steps(2 * along[0] * along[1]),
                  steps(aside / size_)};
    const auto endOf = [&](const Point2d& point) {
        return End{along[0] * point[0] + along[1] * point[1], point};
    };
    Span span{endOf(piece[0]), endOf(piece[1])};
    if (span[0].at > span[1].at) std::swap(span[0], span[1]);
    lines_[key].push_back(span);
}

void LinePieces::Join() {
    for (auto& [key, spans] : lines_) {
        std::ranges::sort(spans, {}, [](const Span& span) { return span[0].at; });
        std::vector<Span> joined;
        for (const Span& span : spans) {
            if (joined.empty() || span[0].at > joined.back()[1].at + kStep * size_) {
                joined.push_back(span);
            } else if (span[1].at > joined.back()[1].at) {
                joined.back()[1] = span[1];
            }
        }
        spans = std::move(joined);
    }
}

void LinePieces::Remove(const LinePieces& others) {
    const double least = kStep * size_;
    for (auto& [key, spans] : lines_) {
        const auto there = others.lines_.find(key);
        if (there == others.lines_.end()) continue;
        std::vector<Span> left;
        for (Span span : spans) {
            for (const Span& other : there->second) {
                if (other[1].at <= span[0].at || other[0].at >= span[1].at) continue;
                if (other[0].at > span[0].at + least) left.push_back({span[0], other[0]});
                span[0] = other[1];
            }
            if (span[1].at > span[0].at + least) left.push_back(span);
        }
        spans = std::move(left);
    }
}

std::vector<Polyline> LinePieces::Lines() const {
    std::vector<Piece> pieces;
    for (const auto& [key, spans] : lines_) {
        for (const Span& span : spans) pieces.push_back({span[0].point, span[1].point});
    }
    return Chain(pieces, std::max(kStep * size_, 1e-300)).Lines();
}

}  // namespace morvex
