// Solves the small linear systems of the curve editor's polynomial fit.
#ifndef GAOSIXY_H
#define GAOSIXY_H

class GaoSiXY
{
public:
    // Gaussian elimination with partial pivoting on the augmented n x (n + 1)
    // matrix held as n row pointers; the matrix is overwritten and the solution
    // is written to x[0..n-1]. A zero pivot is not detected: callers pass
    // systems whose nodes are distinct.
    static void solve(double** a, int n, double* x);
};

#endif
