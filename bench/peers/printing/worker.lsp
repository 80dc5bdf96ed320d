D
