;;; lisp-worker-mode.el --- Programs for the LISP worker  -*- lexical-binding: t; -*-

;; Version: 1.0.0
;; Package-Requires: ((emacs "28.1"))
;; Keywords: languages

;;; Commentary:

;; Colours, indentation and checks for .lsp files.  With eglot (part of Emacs 29) the language
;; server `lisp_console lsp' adds diagnostics, completion, documentation, references, renaming and
;; formatting: M-x eglot.  `C-c C-c' runs the program, `C-c C-k' checks it.

;;; Code:

(require 'compile)

(defgroup lisp-worker nil
  "Programs for the LISP worker."
  :group 'languages)

(defcustom lisp-worker-console "lisp_console"
  "The console: a name that the PATH leads to, or a path."
  :type 'string)

(defconst lisp-worker-special-forms
  '(
    "QUOTE" "SETQ" "IF" "PROGN" "WHILE" "DEFUN" "AND" "OR" "NOT" "NULL"))

(defconst lisp-worker-builtins
  '(
    "+" "-" "*" "/" "1+" "1-" "=" "/=" "<" ">" "<=" ">=" "EQ" "EQUAL" "LIST" "CAR" "CDR" "CONS"
    "LENGTH" "PRINC" "PRIN1" "SSLENGTH" "SSNAME" "DISTANCE" "ANGLE" "POLAR" "TRANS"))

(defconst lisp-worker-host-calls
  '(
    "GETPOINT" "GETCORNER" "GETDIST" "SSGET" "ENTGET" "ENTMOD" "ENTMAKE" "ENTMAKEX" "COMMAND"
    "COMMAND-S" "OSNAP"))

(defun lisp-worker--head (names)
  "A pattern for one of NAMES behind an opening bracket."
  (concat "([ \t]*" (regexp-opt names t) "\\_>"))

(defconst lisp-worker-font-lock-keywords
  (list
   '("^[ \t]*;@.*$" 0 font-lock-preprocessor-face t)
   '("([ \t]*DEFUN[ \t]+\\([^][ \t\n()';\"]+\\)" 1 font-lock-function-name-face)
   (list (lisp-worker--head lisp-worker-special-forms) 1 'font-lock-keyword-face)
   (list (lisp-worker--head lisp-worker-host-calls) 1 'font-lock-type-face)
   (list (lisp-worker--head lisp-worker-builtins) 1 'font-lock-builtin-face)
   '("\\_<\\(?:NIL\\|T\\)\\_>" 0 font-lock-constant-face)))

(defvar lisp-worker-mode-syntax-table
  (let ((table (make-syntax-table)))
    ;; Everything is part of a name, but blanks, brackets, quotes and comments.
    (dotimes (character 128)
      (when (> character 32)
        (modify-syntax-entry character "_" table)))
    (dolist (range '((?a . ?z) (?A . ?Z) (?0 . ?9)))
      (modify-syntax-entry range "w" table))
    (modify-syntax-entry ?\( "()" table)
    (modify-syntax-entry ?\) ")(" table)
    (modify-syntax-entry ?\; "<" table)
    (modify-syntax-entry ?\n ">" table)
    (modify-syntax-entry ?\" "\"" table)
    (modify-syntax-entry ?\\ "\\" table)
    (modify-syntax-entry ?' "'" table)
    table)
  "The letters of the dialect.")

(defconst lisp-worker--column-max 60
  "No line begins behind this column.")

(defun lisp-worker--head-at (open)
  "The name that the list at OPEN begins with, in capitals, or nil."
  (save-excursion
    (goto-char (1+ open))
    (and (looking-at "[^][ \t\n()';\"]+") (upcase (match-string-no-properties 0)))))

(defun lisp-worker--items (open end)
  "The number of items of the list at OPEN that begin before END."
  (save-excursion
    (goto-char (1+ open))
    (let ((count 0))
      (while (progn (forward-comment (buffer-size)) (< (point) end))
        (setq count (1+ count))
        (condition-case nil (forward-sexp) (error (goto-char end))))
      count)))

(defun lisp-worker--data-p (opens)
  "Non-nil if the innermost of the lists at OPENS is data.\nThe outermost is the first of them."
  (let ((outer nil) (data nil))
    (dolist (open opens data)
      (when (or (eq (char-before open) ?\')
                (and outer (equal (lisp-worker--head-at outer) "QUOTE"))
                (and outer (equal (lisp-worker--head-at outer) "DEFUN")
                     (= (lisp-worker--items outer open) 2)))
        (setq data t))
      (setq outer open))))

(defun lisp-worker--argument-column (open)
  "The column of the first argument of the list at OPEN.\nNil if it is not beside the name."
  (save-excursion
    (goto-char (1+ open))
    (skip-chars-forward "^ \t\n()';\"")
    (skip-chars-forward " \t")
    (unless (looking-at "\n\\|;\\|\\'") (current-column))))

(defun lisp-worker--indentation ()
  "The column that the current line should begin in, or nil inside a text."
  (save-excursion
    (beginning-of-line)
    (let* ((state (syntax-ppss))
           (open (nth 1 state)))
      (cond
       ((nth 3 state) nil)
       ((null open) 0)
       (t
        (let* ((column (save-excursion (goto-char open) (current-column)))
               (head (lisp-worker--head-at open))
               (argument (lisp-worker--argument-column open)))
          (min lisp-worker--column-max
               (cond
                ((or (null head) (lisp-worker--data-p (nth 9 state))) (1+ column))
                ((member head '("DEFUN" "WHILE")) (+ column 2))
                ((and (equal head "SETQ") (= (lisp-worker--items open (point)) 2)) (+ column 2))
                ((and argument (<= argument lisp-worker--column-max)) argument)
                (t (+ column 2))))))))))

(defun lisp-worker-indent-line ()
  "Indent the current line as `lisp_console format' does."
  (interactive)
  (let ((column (lisp-worker--indentation)))
    (when column
      (let ((from-end (- (point-max) (point))))
        (indent-line-to column)
        (when (> (- (point-max) from-end) (point))
          (goto-char (- (point-max) from-end)))))))

(defun lisp-worker--compile (&rest words)
  "Run the console with WORDS and the file of this buffer."
  (save-buffer)
  (compile (mapconcat #'shell-quote-argument
                      (append (list lisp-worker-console) words (list (buffer-file-name)))
                      " ")))

(defun lisp-worker-run ()
  "Run the program of this buffer."
  (interactive)
  (lisp-worker--compile))

(defun lisp-worker-check ()
  "Check the program of this buffer."
  (interactive)
  (lisp-worker--compile "check"))

(defvar lisp-worker-mode-map
  (let ((map (make-sparse-keymap)))
    (define-key map (kbd "C-c C-c") #'lisp-worker-run)
    (define-key map (kbd "C-c C-k") #'lisp-worker-check)
    map)
  "The keys of `lisp-worker-mode'.")

;;;###autoload
(define-derived-mode lisp-worker-mode prog-mode "LISP worker"
  "A mode for programs for the LISP worker."
  (setq-local comment-start "; "
              comment-start-skip ";+[ \t]*"
              indent-tabs-mode nil
              indent-line-function #'lisp-worker-indent-line
              font-lock-defaults '(lisp-worker-font-lock-keywords nil t)))

;;;###autoload
(add-to-list 'auto-mode-alist '("\\.lsp\\'" . lisp-worker-mode))

(with-eval-after-load 'eglot
  (when (boundp 'eglot-server-programs)
    (add-to-list 'eglot-server-programs
                 (cons 'lisp-worker-mode
                       (lambda (&rest _) (list lisp-worker-console "lsp"))))))

(add-to-list 'compilation-error-regexp-alist-alist
             '(lisp-worker "^\\([^:\n]+\\):\\([0-9]+\\):\\([0-9]+\\): \\(?:error\\|\\(warning\\)\\)?"
                           1 2 3 (4)))
(add-to-list 'compilation-error-regexp-alist 'lisp-worker)

(provide 'lisp-worker-mode)

;;; lisp-worker-mode.el ends here
