#include "gaosixy.h"

#include <cmath>
#include <utility>

void GaoSiXY::solve(double** a, int n, double* x)
{
    if (n < 1)
        return;

    for (int c = 0; c < n; ++c) {
        int pivotRow = c;
        for (int r = c + 1; r < n; ++r) {
            if (std::fabs(a[r][c]) > std::fabs(a[pivotRow][c]))
                pivotRow = r;
        }
        if (pivotRow != c) {
            for (int j = c; j <= n; ++j)
                std::swap(a[c][j], a[pivotRow][j]);
        }

        const double pivot = a[c][c];
        for (int j = c; j <= n; ++j)
            a[c][j] /= pivot;

        for (int r = c + 1; r < n; ++r) {
            const double factor = a[r][c];
            if (factor == 0.0)
                continue;
            for (int j = c; j <= n; ++j)
                a[r][j] -= factor * a[c][j];
        }
    }

    for (int i = n - 2; i >= 0; --i) {
        for (int j = i + 1; j < n; ++j)
            a[i][n] -= a[i][j] * a[j][n];
    }

    for (int i = 0; i < n; ++i)
        x[i] = a[i][n];
}
