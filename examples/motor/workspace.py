# Parameters of the DC motor and of its speed controller, in SI units.

R = 1.0        # armature resistance [ohm]
L = 0.05       # armature inductance [H]
K = 0.1        # torque constant [N m/A], and back-EMF constant [V s/rad]
J = 0.002      # inertia [kg m^2]
b = 0.0005     # viscous friction [N m s/rad]

w_ref = 100.0  # speed set-point [rad/s]
t_step = 0.1   # when it is applied [s]

kp = 0.4       # controller gains [V s/rad], [V/rad], [V s^2/rad]
ki = 2.0
kd = 0.001
u_max = 24.0   # supply [V]
