#include <vxgrid/host/zemomol.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdlib>
#include <limits>
#include <string>

#include <vxgrid/host/error_handler.h>

namespace {

std::string formatted(const char* format, va_list args) {
  va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, args);
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
  return text;
}

struct Eigen3 {
  double values[3];
  double axes[3][3];  // one row an eigenvector
};

/// One Jacobi rotation, which makes a[p][q] zero (Golub and Van Loan, Matrix Computations, 8.5).
void jacobi_rotate(double a[3][3], double axes[3][3], int p, int q) {
  if (a[p][q] == 0) return;
  const double theta = (a[q][q] - a[p][p]) / (2 * a[p][q]);
  const double t = std::copysign(1.0, theta) / (std::fabs(theta) + std::hypot(theta, 1.0));
  const double c = 1 / std::hypot(t, 1.0), s = t * c;
  const int r = 3 - p - q;
  const double apr = a[p][r], aqr = a[q][r];
  a[p][p] -= t * a[p][q];
  a[q][q] += t * a[p][q];
  a[p][q] = a[q][p] = 0;
  a[p][r] = a[r][p] = c * apr - s * aqr;
  a[q][r] = a[r][q] = s * apr + c * aqr;
  for (int i = 0; i < 3; ++i) {
    const double x = axes[p][i], y = axes[q][i];
    axes[p][i] = c * x - s * y;
    axes[q][i] = s * x + c * y;
  }
}

/// Eigenvalues from the largest to the smallest, with a right-handed frame of axes.
Eigen3 solve(double a[3][3]) {
  Eigen3 e = {{0, 0, 0}, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
  for (int i = 0; i < 9; ++i)
    if (!std::isfinite(a[i / 3][i % 3])) return e;

  // Off-diagonal elements vanish quadratically: five or six sweeps do, thirty are a bound.
  for (int sweep = 0; sweep < 30 && (a[0][1] != 0 || a[0][2] != 0 || a[1][2] != 0); ++sweep) {
    jacobi_rotate(a, e.axes, 0, 1);
    jacobi_rotate(a, e.axes, 0, 2);
    jacobi_rotate(a, e.axes, 1, 2);
  }
  for (int i = 0; i < 3; ++i) e.values[i] = a[i][i];
  const auto order = [&e](int i, int j) {
    if (e.values[i] >= e.values[j]) return;
    std::swap(e.values[i], e.values[j]);
    std::swap_ranges(e.axes[i], e.axes[i] + 3, e.axes[j]);
  };
  order(0, 1);
  order(1, 2);
  order(0, 1);
  const auto& u = e.axes;
  const double det = u[0][0] * (u[1][1] * u[2][2] - u[1][2] * u[2][1]) -
                     u[0][1] * (u[1][0] * u[2][2] - u[1][2] * u[2][0]) +
                     u[0][2] * (u[1][0] * u[2][1] - u[1][1] * u[2][0]);
  if (det < 0)
    for (double& x : e.axes[2]) x = -x;
  return e;
}

Eigen3 solve(const float* matrix) {
  double a[3][3];
  for (int i = 0; i < 9; ++i) a[i / 3][i % 3] = matrix[i];
  return solve(a);
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

const char* skip_digits(const char* at) {
  while (is_digit(*at)) ++at;
  return at;
}

/// The end of [+-]digits[.digits][E[+-]digits] at `at`, or `at` when there is none.
const char* end_of_number(const char* at) {
  const char* first = *at == '+' || *at == '-' ? at + 1 : at;
  const char* end = skip_digits(first);
  bool digits = end != first;
  if (*end == '.') {
    const char* fraction = end + 1;
    end = skip_digits(fraction);
    digits = digits || end != fraction;
  }
  if (!digits) return at;
  if (*end == 'e' || *end == 'E') {
    const char* exponent = end[1] == '+' || end[1] == '-' ? end + 2 : end + 1;
    if (is_digit(*exponent)) end = skip_digits(exponent);
  }
  return end;
}

}  // namespace

int vi_nint(float x) {
  if (std::isnan(x)) return 0;
  const double nearest = std::round(static_cast<double>(x));
  using Int = std::numeric_limits<int>;
  return static_cast<int>(std::clamp<double>(nearest, Int::min(), Int::max()));
}

float vi_exp_f(float x) { return std::exp(x); }

bool vi_IsZero(float x) { return std::fabs(x) < 1e-5f; }

void* vx_malloc(std::size_t size) { return std::malloc(size); }
void vx_free(void* block) { std::free(block); }

void vx_printf(int level, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const std::string text = formatted(format, args);
  va_end(args);
  if (level <= 0)
    VXCore::VXThrow.Info(text);
  else if (level == 1)
    VXCore::VXThrow.Verbose("%s", text.c_str());
  else
    VXCore::VXThrow.Debug("%s", text.c_str());
}

void vi_warning(const char* format, ...) {
  va_list args;
  va_start(args, format);
  VXCore::VXThrow.Warning(formatted(format, args));
  va_end(args);
}

void vi_warning_print(const char* format, ...) {
  va_list args;
  va_start(args, format);
  VXCore::VXThrow.Warning(formatted(format, args));
  va_end(args);
}

void eigen_solve_3_by_3(float** matrix, float* values, float** vectors) {
  double a[3][3];
  for (int i = 0; i < 3; ++i) std::copy_n(matrix[i], 3, a[i]);
  const Eigen3 e = solve(a);
  for (int i = 0; i < 3; ++i) {
    values[i] = static_cast<float>(e.values[i]);
    for (int j = 0; j < 3; ++j) vectors[i][j] = static_cast<float>(e.axes[i][j]);
  }
}

void get_roots_3(float* matrix, float* roots) {
  const Eigen3 e = solve(matrix);
  for (int i = 0; i < 3; ++i) {
    roots[i] = static_cast<float>(e.values[i]);
    for (int j = 0; j < 3; ++j) matrix[3 * j + i] = static_cast<float>(e.axes[i][j]);
  }
}

void vx_make_rmat2(const float* matrix, float* rotation, int) {
  const Eigen3 e = solve(matrix);
  for (int i = 0; i < 9; ++i) rotation[i] = static_cast<float>(e.axes[i / 3][i % 3]);
}

// S. W. Shepperd, J. Guid. Control 1, 223 (1978): start from the largest component, so that nothing small is
// divided by.
void vx_rotation_matrix_to_quaternions(const float* rotation, float* quaternion) {
  double m[9];
  std::copy_n(rotation, 9, m);
  const double trace = m[0] + m[4] + m[8];
  double q[4] = {1, 0, 0, 0};
  if (trace >= std::max({m[0], m[4], m[8]})) {
    q[0] = 1 + trace;
    q[1] = m[7] - m[5];
    q[2] = m[2] - m[6];
    q[3] = m[3] - m[1];
  } else {
    const int i = m[0] >= m[4] && m[0] >= m[8] ? 0 : m[4] >= m[8] ? 1 : 2, j = (i + 1) % 3, k = (i + 2) % 3;
    q[0] = m[3 * k + j] - m[3 * j + k];
    q[1 + i] = 1 + m[4 * i] - m[4 * j] - m[4 * k];
    q[1 + j] = m[3 * i + j] + m[3 * j + i];
    q[1 + k] = m[3 * i + k] + m[3 * k + i];
  }
  const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
  const double scale = (q[0] < 0 ? -1 : 1) / length;
  for (int i = 0; i < 4; ++i) quaternion[i] = static_cast<float>(q[i] * scale);
}

void vx_quaternions_to_rotation_matrix(const float* quaternion, float* rotation) {
  double w = quaternion[0], x = quaternion[1], y = quaternion[2], z = quaternion[3];
  const double length = std::sqrt(w * w + x * x + y * y + z * z);
  if (!(length > 0)) {
    w = 1;
    x = y = z = 0;
  } else {
    w /= length;
    x /= length;
    y /= length;
    z /= length;
  }
  const double m[9] = {1 - 2 * (y * y + z * z), 2 * (x * y - w * z),     2 * (x * z + w * y),
                       2 * (x * y + w * z),     1 - 2 * (x * x + z * z), 2 * (y * z - w * x),
                       2 * (x * z - w * y),     2 * (y * z + w * x),     1 - 2 * (x * x + y * y)};
  for (int i = 0; i < 9; ++i) rotation[i] = static_cast<float>(m[i]);
}

void vx_get_box_size(const float* coords, int n, float* min, float* max) {
  for (int i = 0; i < 3; ++i) min[i] = max[i] = n > 0 ? coords[i] : 0.0f;
  for (std::ptrdiff_t p = 1; p < n; ++p)
    for (int i = 0; i < 3; ++i) {
      min[i] = std::min(min[i], coords[3 * p + i]);
      max[i] = std::max(max[i], coords[3 * p + i]);
    }
}

FILE* vi_fopen(const char* name, const char* mode) { return name && mode ? std::fopen(name, mode) : nullptr; }
int vi_fclose(FILE* file) { return file ? std::fclose(file) : EOF; }

int vx_number_of_numbers_in_a_string(const char* text) {
  int n = 0;
  for (const char* at = text; *at;) {
    const char* end = end_of_number(at);
    if (end != at)
      ++n;
    else if (is_blank(*at))
      ++end;
    else
      while (*end && !is_blank(*end)) ++end;
    at = end;
  }
  return n;
}

int vx_end_position_of_number_in_string(const char* text, int start) {
  const char* at = text + start;
  while (is_blank(*at)) ++at;
  const char* end = end_of_number(at);
  return end == at ? start : static_cast<int>(end - text);
}
