#include "bench/Curves.h"

#include "bench/Report.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

constexpr double kPanelWidth = 250;
constexpr double kPanelHeight = 170;
constexpr double kMargin = 50;
constexpr const char* kColours[] = {"#1b6ca8", "#c8553d"};

/// A panel's place in the picture and its scales.
struct Panel {
    double left;
    double least; ///< sizes, by their logarithm
    double most;
    double top; ///< cost at the upper edge

    double x(double size) const {
        return left + (std::log10(size) - least) / (most - least) * kPanelWidth;
    }
    double y(double cost) const { return kMargin + (1 - cost / top) * kPanelHeight; }
};

void text(std::ostream& out, double x, double y, const std::string& anchor,
          const std::string& words, const std::string& colour = "#444") {
    out << "<text x=\"" << x << "\" y=\"" << y << "\" text-anchor=\"" << anchor << "\" fill=\""
        << colour << "\">" << words << "</text>\n";
}

void horizontal(std::ostream& out, const Panel& panel, double cost) {
    out << "<path d=\"M" << panel.left << ' ' << panel.y(cost) << "h" << kPanelWidth
        << "\" stroke=\"#ddd\"/>\n";
    text(out, panel.left - 6, panel.y(cost) + 4, "end", wholeNumber(cost));
}

void drawCurve(const Curve& curve, const Panel& panel, std::size_t index, std::ostream& out) {
    const std::string colour = kColours[index % std::size(kColours)];
    out << "<polyline fill=\"none\" stroke-width=\"2\" stroke=\"" << colour << "\" points=\"";
    for (const Curve::Point& point : curve.points) {
        out << panel.x(point.size) << ',' << panel.y(point.cost) << ' ';
    }
    out << "\"/>\n";
    for (const Curve::Point& point : curve.points) {
        out << "<circle r=\"3\" fill=\"" << colour << "\" cx=\"" << panel.x(point.size)
            << "\" cy=\"" << panel.y(point.cost) << "\"/>\n";
    }
    text(out, panel.left + 8, kMargin + 14 + 16 * static_cast<double>(index), "start", curve.name,
         colour);
}

void drawPanel(const std::vector<Curve>& curves, double left, double top, double line,
               std::ostream& out) {
    const std::vector<Curve::Point>& points = curves.front().points;
    const Panel panel{left, std::log10(points.front().size), std::log10(points.back().size), top};
    for (double cost = 0; cost <= top; cost += line) {
        horizontal(out, panel, cost);
    }
    for (const Curve::Point& point : points) {
        text(out, panel.x(point.size), panel.y(0) + 18, "middle", wholeNumber(point.size));
    }
    text(out, left + kPanelWidth / 2, panel.y(0) + 38, "middle", curves.front().unit);
    for (std::size_t i = 0; i < curves.size(); ++i) {
        drawCurve(curves[i], panel, i, out);
    }
}

/// A round step that divides the axis into four to ten.
double lineDistance(double top) {
    double step = std::pow(10.0, std::floor(std::log10(top)));
    while (top / step < 4) {
        step /= 2;
    }
    return step;
}

std::vector<std::vector<Curve>> byUnit(const std::vector<Curve>& curves) {
    std::vector<std::vector<Curve>> panels;
    for (const Curve& curve : curves) {
        if (panels.empty() || panels.back().front().unit != curve.unit) {
            panels.emplace_back();
        }
        panels.back().push_back(curve);
    }
    return panels;
}

double highestCost(const std::vector<Curve>& curves) {
    double highest = 0;
    for (const Curve& curve : curves) {
        for (const Curve::Point& point : curve.points) {
            highest = std::max(highest, point.cost);
        }
    }
    return highest;
}

} // namespace

void drawCurves(const std::vector<Curve>& curves, std::ostream& out) {
    const std::vector<std::vector<Curve>> panels = byUnit(curves);
    const double line = lineDistance(highestCost(curves));
    const double top = std::ceil(highestCost(curves) / line) * line;
    const double pitch = kPanelWidth + 2 * kMargin;
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\""
        << pitch * static_cast<double>(panels.size()) << "\" height=\""
        << kPanelHeight + 2 * kMargin
        << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
           "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    text(out, kMargin, kMargin - 18, "start", "ns an event");
    for (std::size_t i = 0; i < panels.size(); ++i) {
        drawPanel(panels[i], kMargin + pitch * static_cast<double>(i), top, line, out);
    }
    out << "</svg>\n";
}
