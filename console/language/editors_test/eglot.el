;;; The language server in Emacs with eglot, without a screen:
;;;
;;;   LISP_CONSOLE_PATH=... emacs --batch --load eglot.el
;;;
;;; Ends with 0 when all is as it should be, and with a message and another code otherwise.

(package-initialize)
(require 'eglot)
(require 'flymake)

(defun check (claim holds &optional shown)
  (unless holds (error "not so: %s: %S" claim shown)))

(defun wait-until (holds)
  (let ((end (+ (float-time) 10)))
    (while (and (not (funcall holds)) (< (float-time) end))
      (accept-process-output nil 0.05))))

(let ((path (make-temp-file "lisp" nil ".lsp"
                            "; Doubles.\n(DEFUN TWICE (X)\n  (* 2 X))\n(LIST (TWICE 1) (TWISE 2))\n")))
  (load-file (expand-file-name "emacs/lisp-worker-mode.el" (getenv "LISP_EDITORS")))
  (setq lisp-worker-console (getenv "LISP_CONSOLE_PATH"))
  (find-file path)
  (check "the program has its mode" (eq major-mode 'lisp-worker-mode) major-mode)
  (setq-local eglot-sync-connect 10)
  (apply #'eglot (eglot--guess-contact))
  (check "the server is running" (eglot-current-server))
  (flymake-mode 1)
  (wait-until (lambda () (flymake-start) (flymake-diagnostics)))
  (let ((texts (mapcar #'flymake-diagnostic-text (flymake-diagnostics))))
    (check "the mistake is told" (and texts (string-match-p "TWISE" (car texts))) texts))
  ;; Rename: the definition and the call.
  (goto-char (point-min))
  (search-forward "DEFUN TW")
  (eglot-rename "DOUBLE")
  (check "all uses are renamed" (string-match-p "(LIST (DOUBLE 1)" (buffer-string)) (buffer-string))
  ;; Completion at point.
  (goto-char (point-max))
  (insert "(DOUB")
  (let* ((found (run-hook-wrapped 'completion-at-point-functions #'completion--capf-wrapper 'all))
         (names (all-completions "DOUB" (nth 3 found))))
    (check "completion offers the function" (member "DOUBLE" (mapcar #'substring-no-properties names))
           names))
  (insert "LE 3)\n( LIST   1 )\n")
  (eglot-format-buffer)
  (check "the text is formatted" (string-match-p "^(LIST 1)$" (buffer-string)) (buffer-string))
  (eglot-shutdown (eglot-current-server))
  (set-buffer-modified-p nil)
  (delete-file path))
(message "eglot: all as it should be")
