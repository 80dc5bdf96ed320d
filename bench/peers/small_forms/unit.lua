a = 12.5 b = a + 3
p = {a, b, 0}
function half(x) return x / 2 end
c = half(p[1])
if c > 100 then d = "large" else d = "small" end
