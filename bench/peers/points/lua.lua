local plus, scaled, p, step, i
function plus(a, b)
  return {a[1] + b[1], a[2] + b[2], a[3] + b[3]}
end
function scaled(factor, a)
  return {factor * a[1], factor * a[2], factor * a[3]}
end
step = {1.5, 2.5, 0.5}
for round = 1, rounds do
  p = {0, 0, 0}
  i = 0
  while i < 4000 do
    p = plus(scaled(0.5, p), step)
    i = i + 1
  end
end
print(p and p[1])
