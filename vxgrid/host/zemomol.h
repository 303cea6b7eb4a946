#pragma once

#include <cstddef>
#include <cstdio>

#include <vxgrid/host/export.h>

// Small numeric and text helpers of the lowest layer, plain global functions.

/// The nearest integer; halves go away from zero (0.5 -> 1, -0.5 -> -1). What no int can hold becomes the
/// nearest int, not-a-number 0.
VXGRID_API int vi_nint(float x);
/// exp in single precision.
VXGRID_API float vi_exp_f(float x);
/// |x| < 1e-5: in Å, well above the rounding of coordinates and well below any spacing.
VXGRID_API bool vi_IsZero(float x);

VXGRID_API void* vx_malloc(std::size_t size);
VXGRID_API void vx_free(void* block);

/// Reports through VXThrow, without the text's trailing line ends: level 0 as Info, 1 as Verbose, higher
/// ones as Debug.
VXGRID_API void vx_printf(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
/// A Warning through VXThrow, without the text's trailing line ends.
VXGRID_API void vi_warning(const char* format, ...) __attribute__((format(printf, 1, 2)));
VXGRID_API void vi_warning_print(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Eigenvalues of a symmetric 3x3 matrix, the largest first, and as rows of `vectors` the unit eigenvectors
/// that belong to them, which form a right-handed frame. Jacobi rotations in double. A matrix with a value
/// that is not finite gives zeros and the unit matrix.
VXGRID_API void eigen_solve_3_by_3(float** matrix, float* values, float** vectors);
/// The same for nine floats in a row; the matrix is overwritten by the eigenvectors, one per column.
VXGRID_API void get_roots_3(float* matrix, float* roots);

/// The proper rotation that turns the principal axes of a symmetric 3x3 matrix onto x, y, z, the axis of the
/// largest eigenvalue onto x: its rows are the axes. The third argument selects nothing; 0 is passed.
VXGRID_API void vx_make_rmat2(const float* matrix, float* rotation, int selector);
/// Unit quaternion w, x, y, z (w >= 0) of a row-major rotation matrix, and back. The way back normalises
/// first, so the result is a rotation for any quaternion; the unit matrix for a zero one.
VXGRID_API void vx_rotation_matrix_to_quaternions(const float* rotation, float* quaternion);
VXGRID_API void vx_quaternions_to_rotation_matrix(const float* quaternion, float* rotation);

/// Smallest and largest x, y, z of n points; zeros for n < 1.
VXGRID_API void vx_get_box_size(const float* coords, int n, float* min, float* max);

/// fopen and fclose that take null pointers: no file, and EOF.
VXGRID_API FILE* vi_fopen(const char* name, const char* mode);
VXGRID_API int vi_fclose(FILE* file);

/// How many decimal numbers a line holds. One ends where it cannot go on ("1.5E+01-2.0E+00" holds two); a
/// word that is no number is passed over.
VXGRID_API int vx_number_of_numbers_in_a_string(const char* text);
/// The position behind the number that starts at `start`, blanks before it skipped; `start` itself when no
/// number is there.
VXGRID_API int vx_end_position_of_number_in_string(const char* text, int start);
